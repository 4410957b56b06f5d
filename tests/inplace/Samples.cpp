// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/Samples.h"

#include <sys/stat.h>

namespace {

const QByteArray List = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
    <key>CFBundleIdentifier</key>
    <string>com.example.sample</string>
    <key>CFBundleShortVersionString</key>
    <string>%1</string>
</dict>
</plist>
)";

/// Contents from nothing to some hundred kilobytes.
QByteArray ContentOf(int number, int edition)
{
    const QByteArray line =
        QByteArray::number(number) + " of edition " + QByteArray::number(edition) + '\n';
    return line.repeated(number % 50 == 7 ? 10000 : number % 11 * 9);
}

/// What an entry of this number is in an edition. Numbers with the same remainder behave alike.
void AddEntry(Tree &tree, int number, int edition)
{
    const QString folder = QStringLiteral("Contents/Resources/第%1组/").arg(number % 7);
    const QString path = folder + QStringLiteral("entry %1").arg(number);
    const bool isOdd = edition % 2 != 0;
    const QByteArray changing = ContentOf(number, edition) + "!";
    switch (number % 20) {
    case 0: // changes
    case 1:
    case 2:
        tree.insert(path, File(changing));
        break;
    case 3: // appears and disappears
        if (isOdd) {
            tree.insert(path, File(ContentOf(number, 0)));
        }
        break;
    case 4: // only another mode
        tree.insert(path, File(ContentOf(number, 0), isOdd ? 0644 : 0755));
        break;
    case 5: // a link that changes
        tree.insert(path, Link(isOdd ? "../../Info.plist" : "../../MacOS/Sample"));
        break;
    case 6: // file and folder
        tree.insert(isOdd ? path : path + QStringLiteral("/within"), File(changing));
        break;
    case 7: // folder and link
        tree.insert(path, isOdd ? Folder(0750) : Link("../../Info.plist"));
        break;
    case 8: // link and file
        tree.insert(path, isOdd ? Link("../../Info.plist") : File(changing));
        break;
    case 9: // only the letter case
        tree.insert(isOdd ? path : path.toUpper().replace(folder.toUpper(), folder),
                    File(ContentOf(number, 0)));
        break;
    case 10: // an empty folder, of a mode that changes
        tree.insert(path, Folder(isOdd ? 0700 : 0755));
        break;
    case 11: // a folder whose last entry disappears
        tree.insert(path, Folder(0711));
        if (isOdd) {
            tree.insert(path + QStringLiteral("/last"), File(ContentOf(number, 0)));
        }
        break;
    case 12: // the previous three, the other way round
        tree.insert(isOdd ? path + QStringLiteral("/within") : path, File(changing));
        break;
    case 13:
        tree.insert(path, isOdd ? Link("../../Info.plist") : Folder(0750));
        break;
    case 14:
        tree.insert(path, isOdd ? File(changing) : Link("../../Info.plist"));
        break;
    default: // stays
        tree.insert(path, File(ContentOf(number, 0), number % 3 == 0 ? 0755 : 0644));
        break;
    }
}

} // namespace

TestRelease ManyKinds(int edition, int entries)
{
    TestRelease release;
    release.version = 1000000 + edition * 10000;
    release.versionString = QStringLiteral("1.%1.0").arg(edition);
    release.application = QStringLiteral("com.example.sample");
    release.tree = {
        {QStringLiteral("Contents/Info.plist"),
         File(QString::fromUtf8(List).arg(release.versionString).toUtf8())},
        {QStringLiteral("Contents/MacOS/Sample"),
         File("#!/bin/sh\necho " + release.versionString.toUtf8() + '\n', 0755)},
    };
    for (int number = 0; number < entries; ++number) {
        AddEntry(release.tree, number, edition);
    }
    return release;
}

int Setting(const char *name, int otherwise)
{
    bool isGiven = false;
    const int value = qEnvironmentVariableIntValue(name, &isGiven);
    return isGiven ? value : otherwise;
}

QString OtherVolume()
{
    struct stat shared {};
    struct stat temporary {};
    const bool isOther = ::stat("/dev/shm", &shared) == 0 &&
                         ::stat(QFile::encodeName(QDir::tempPath()).constData(), &temporary) == 0 &&
                         shared.st_dev != temporary.st_dev;
    return isOther ? QStringLiteral("/dev/shm") : QString();
}

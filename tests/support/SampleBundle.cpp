// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/SampleBundle.h"

#include "tests/support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Link {
    const char *path;
    const char *target;
};

const Link Links[] = {
    {"Contents/Frameworks/Core.framework/Versions/Current", "A"},
    {"Contents/Frameworks/Core.framework/Core", "Versions/Current/Core"},
    {"Contents/Frameworks/Core.framework/Resources", "Versions/Current/Resources"},
    {"Contents/Frameworks/Media.framework/Versions/Current", "B"},
    {"Contents/Frameworks/Media.framework/Media", "Versions/Current/Media"},
    {"Contents/Frameworks/Media.framework/Resources", "Versions/Current/Resources"},
    {"Contents/Frameworks/Media.framework/Helpers", "Versions/Current/Helpers"},
    {"Contents/Resources/最新.txt", "zh-Hans.lproj/说明.txt"},
};

const char *const Programs[] = {
    "Contents/MacOS/Sample",
    "Contents/MacOS/updater",
    "Contents/Helpers/sample helper",
    "Contents/Frameworks/Core.framework/Versions/A/Core",
    "Contents/Frameworks/Media.framework/Versions/B/Media",
    "Contents/Frameworks/Media.framework/Versions/B/Helpers/decoder",
    "Contents/PlugIns/Import.plugin/Contents/MacOS/Import",
};

const char *const Texts[] = {
    "Contents/PkgInfo",
    "Contents/Resources/en.lproj/Localizable.strings",
    "Contents/Resources/zh-Hans.lproj/Localizable.strings",
    "Contents/Resources/zh-Hans.lproj/说明.txt",
    "Contents/Resources/图片/庆祝 🎉.png",
    "Contents/Resources/表情/👩‍💻👍🏽.txt",
    "Contents/_CodeSignature/CodeResources",
};

const char *const PropertyLists[] = {
    "Contents/Frameworks/Core.framework/Versions/A/Resources/Info.plist",
    "Contents/Frameworks/Media.framework/Versions/B/Resources/Info.plist",
    "Contents/PlugIns/Import.plugin/Contents/Info.plist",
};

const char *const ReadOnlyText = "Contents/Resources/licence.txt";
const char *const EmptyFile = "Contents/Resources/empty";
const char *const EmptyFolder = "Contents/SharedSupport/Updates";
const char *const PrivateFolder = "Contents/Resources/private";
const char *const PrivateFile = "Contents/Resources/private/key list";
constexpr int FurtherFiles = 4; // the bundle's property list, read-only, empty and private file

void SetMode(const QString &path, mode_t mode)
{
    if (::chmod(QFile::encodeName(path).constData(), mode) != 0) {
        qFatal("The test cannot set the mode of %s.", qPrintable(path));
    }
}

void Add(const QString &path, const QByteArray &content, mode_t mode)
{
    WriteFile(path, content);
    SetMode(path, mode);
}

void AddFolder(const QString &path)
{
    if (!QDir().mkpath(path)) {
        qFatal("The test cannot make %s.", qPrintable(path));
    }
}

QByteArray PropertyList(const QString &identifier, const QString &version)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
           "<key>CFBundleIdentifier</key><string>" +
           identifier.toUtf8() + "</string>\n<key>CFBundleShortVersionString</key><string>" +
           version.toUtf8() + "</string>\n</dict></plist>\n";
}

/// Gives all folders below \a top the usual mode.
void SetFolderModes(const QString &top)
{
    SetMode(top, 0755);
    const QStringList names =
        QDir(top).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QString &name : names) {
        SetFolderModes(top + QLatin1Char('/') + name);
    }
}

} // namespace

void SampleBundle::make(const QString &bundle) const
{
    const auto at = [&bundle](const char *path) {
        return bundle + QLatin1Char('/') + QString::fromUtf8(path);
    };
    for (const char *path : Programs) {
        Add(at(path), QByteArray(path) + " of version " + version.toUtf8() + '\n', 0755);
    }
    for (const char *path : Texts) {
        Add(at(path), QByteArray("text of ") + path + '\n', 0644);
    }
    for (const char *path : PropertyLists) {
        Add(at(path), PropertyList(identifier + QStringLiteral(".part"), version), 0644);
    }
    Add(at("Contents/Info.plist"), PropertyList(identifier, version), 0644);
    Add(at(ReadOnlyText), "read only\n", 0444);
    Add(at(EmptyFile), {}, 0644);
    Add(at(PrivateFile), "for the owner alone\n", 0600);
    for (int number = 0; number < resources; ++number) {
        const QByteArray name = QByteArray::number(number);
        QByteArray content = ("resource " + name + '\n').repeated(1 + number % 50);
        content += number % 10 == 0 ? version.toUtf8() : QByteArray();
        Add(at("Contents/Resources/data/") + QString::number(number / 100) +
                QStringLiteral("/resource ") + QString::fromLatin1(name) + QStringLiteral(".dat"),
            content, 0644);
    }
    AddFolder(at(EmptyFolder));
    SetFolderModes(bundle);
    SetMode(at(PrivateFolder), 0700);
    for (const Link &link : Links) {
        if (::symlink(link.target, QFile::encodeName(at(link.path)).constData()) != 0) {
            qFatal("The test cannot make the link %s.", link.path);
        }
    }
}

int SampleBundle::fileCount() const
{
    return resources + FurtherFiles +
           static_cast<int>(std::size(Programs) + std::size(Texts) + std::size(PropertyLists));
}

int SampleBundle::linkCount()
{
    return static_cast<int>(std::size(Links));
}

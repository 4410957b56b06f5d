// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Comparison.h"
#include "ContactSheet.h"
#include "Looks.h"
#include "OwnHome.h"
#include "Scenes.h"
#include "platform/QtDefaults.h"
#include "release/Messages.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QProcess>

#include <cstdlib>

// updater_gallery FOLDER: pictures of every dialog, in every state, on every kind of desktop, and a
// contact sheet of them all. Needs no display.

namespace {

QtMessageHandler s_previousHandler = nullptr;

/// Drops the offscreen platform's complaints about what it does not support.
void DropNoise(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (!message.startsWith(QLatin1String("This plugin does not support "))) {
        s_previousHandler(type, context, message);
    }
}

/// Writes the pictures of one look; the scale is that of this process.
bool RenderLook(const QString &name, const QDir &folder)
{
    const Look &look = FindLook(name);
    WearLook(look);
    bool saved = true;
    for (const Scene &scene : AllScenes()) {
        saved = scene.render().save(folder.filePath(
                    PictureName(QLatin1String(look.name), QLatin1String(scene.name)))) &&
                saved;
    }
    return saved;
}

/// Runs this program again for each look, because the scale is fixed when a program starts.
bool RenderAll(const QDir &folder)
{
    for (const Look &look : AllLooks()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QLatin1String(look.scale));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--look"), QLatin1String(look.name), folder.path()});
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
            process.exitCode() != 0) {
            return false;
        }
    }
    return WriteContactSheet(folder);
}

void TellDifferences(const FormerPictures &former, const QDir &folder)
{
    const QStringList differences = former.differences(folder);
    Say(differences.isEmpty() ? QStringLiteral("All pictures are as they were.")
                              : differences.join(QLatin1Char('\n')));
}

int MakeGallery(const QDir &folder, const QString &formerFolder)
{
    const FormerPictures former{QDir(formerFolder)}; // read first: it may be the same folder
    if (!formerFolder.isNull() && former.isEmpty()) {
        return Refuse({QStringLiteral("%1 holds no pictures").arg(formerFolder)});
    }
    if (!RenderAll(folder)) {
        return Refuse({QStringLiteral("not all pictures could be made")});
    }
    if (!formerFolder.isNull()) {
        TellDifferences(former, folder);
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char *argv[])
{
    const OwnHome home;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    s_previousHandler = qInstallMessageHandler(DropNoise);
    EnableHighDpi();
    const QApplication app(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral(UPDATER_VERSION));

    const QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this text.")};
    const QCommandLineOption version(QStringLiteral("version"),
                                     QStringLiteral("Shows the version."));
    const QCommandLineOption against(
        QStringLiteral("against"),
        QStringLiteral("Lists what has changed since the pictures in OTHER, which may be FOLDER."),
        QStringLiteral("OTHER"));
    const QCommandLineOption look(QStringLiteral("look"),
                                  QStringLiteral("Makes the pictures of one look only."),
                                  QStringLiteral("NAME"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Makes pictures of all dialogs and a contact sheet of them."));
    parser.addOptions({help, version, against, look});
    parser.addPositionalArgument(QStringLiteral("FOLDER"), QStringLiteral("Where the files go."));
    if (!parser.parse(QApplication::arguments())) {
        return Complain(parser.errorText());
    }
    if (parser.isSet(help)) {
        Say(parser.helpText().trimmed());
        return EXIT_SUCCESS;
    }
    if (parser.isSet(version)) {
        Say(QApplication::applicationVersion());
        return EXIT_SUCCESS;
    }
    if (parser.positionalArguments().size() != 1) {
        return Complain(QStringLiteral("one FOLDER is needed"));
    }

    const QDir folder(parser.positionalArguments().first());
    if (!home.isValid() || !folder.mkpath(QStringLiteral("."))) {
        return Refuse({QStringLiteral("cannot make the folder %1").arg(folder.path())});
    }
    if (parser.isSet(look)) {
        return RenderLook(parser.value(look), folder) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    return MakeGallery(folder, parser.value(against));
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ContactSheet.h"
#include "Looks.h"
#include "Scenes.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QProcess>
#include <QTextStream>

// updater_gallery FOLDER: pictures of every dialog, in every state, on every kind of desktop, and a
// contact sheet of them all. Needs no display.

namespace {

/// Writes the pictures of one look; the scale is that of this process.
bool renderLook(const QString &name, const QDir &folder)
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
bool renderAll(const QDir &folder)
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

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const QApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Makes pictures of all dialogs and a contact sheet of them."));
    parser.addHelpOption();
    const QCommandLineOption look(QStringLiteral("look"),
                                  QStringLiteral("Makes the pictures of one look only."),
                                  QStringLiteral("name"));
    parser.addOption(look);
    parser.addPositionalArgument(QStringLiteral("folder"), QStringLiteral("Where the files go."));
    parser.process(app);
    if (parser.positionalArguments().size() != 1) {
        parser.showHelp(2);
    }

    const QDir folder(parser.positionalArguments().first());
    if (!folder.mkpath(QStringLiteral("."))) {
        QTextStream(stderr) << "cannot make the folder " << folder.path() << '\n';
        return 1;
    }
    const bool made =
        parser.isSet(look) ? renderLook(parser.value(look), folder) : renderAll(folder);
    return made ? 0 : 1;
}

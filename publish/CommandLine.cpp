// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/CommandLine.h"

#include <QCommandLineParser>

namespace {

const QString VersionOption = QStringLiteral("version");
const QString MinVersionOption = QStringLiteral("min-version");
const QString DownloadUrlOption = QStringLiteral("download-url");
const QString VersionStringOption = QStringLiteral("version-string");
const QString FolderOption = QStringLiteral("folder");
const QString ForceOption = QStringLiteral("force");
const QString VerifyOption = QStringLiteral("verify");
const QString HelpOption = QStringLiteral("help");

void AddOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "Publishes a release: copies RELEASE_DIR to OUTPUT_DIR/NAME with its manifest\n"
        "update_md5.info, then writes OUTPUT_DIR/update.json. With --verify, fetches what is\n"
        "published under BASE_URL and checks every file.\n\n"
        "Exit codes: 0 done and all right; 1 refused, failed or not right; 2 bad usage."));
    parser.addPositionalArgument(QStringLiteral("RELEASE_DIR"),
                                 QStringLiteral("The folder with the files of the release."));
    parser.addPositionalArgument(QStringLiteral("OUTPUT_DIR"),
                                 QStringLiteral("The folder that the update base URL stands for."));
    parser.addOptions({
        {VersionOption, QStringLiteral("Version of the release, such as 3.10.25."), "VERSION"},
        {MinVersionOption,
         QStringLiteral("Hosts at or below this version cannot put the update off."), "VERSION"},
        {DownloadUrlOption, QStringLiteral("The https address that the user's browser opens."),
         "URL"},
        {VersionStringOption, QStringLiteral("The version as shown to people (default: VERSION)."),
         "TEXT"},
        {FolderOption, QStringLiteral("Folder of the release (default: VERSION)."), "NAME"},
        {ForceOption, QStringLiteral("Accept versions whose number loses something of them.")},
        {VerifyOption, QStringLiteral("Check what is published under BASE_URL."), "BASE_URL"},
        {{"h", HelpOption}, QStringLiteral("Show this help.")},
    });
}

CommandLine Complaint(const QString &text)
{
    CommandLine line;
    line.text = text + QStringLiteral("\nTry publish_update --help.");
    return line;
}

CommandLine VerifyLine(const QCommandLineParser &parser)
{
    if (parser.optionNames() != QStringList{VerifyOption} ||
        !parser.positionalArguments().isEmpty()) {
        return Complaint(QStringLiteral("--verify takes a base URL and nothing else."));
    }
    QString text = parser.value(VerifyOption);
    while (text.endsWith(QLatin1Char('/'))) {
        text.chop(1);
    }
    CommandLine line;
    line.action = CommandLine::Action::Verify;
    line.baseUrl = QUrl(text);
    const QString scheme = line.baseUrl.scheme();
    const bool web = scheme == QLatin1String("https") || scheme == QLatin1String("http");
    if (!web || line.baseUrl.host().isEmpty() || line.baseUrl.hasQuery() ||
        line.baseUrl.hasFragment()) {
        return Complaint(QStringLiteral("\"%1\" is not a base URL: an https or http address "
                                        "without '?' and '#' is expected.")
                             .arg(text));
    }
    return line;
}

CommandLine PublishLine(const QCommandLineParser &parser)
{
    for (const QString &option : {VersionOption, MinVersionOption, DownloadUrlOption}) {
        if (parser.value(option).isEmpty()) {
            return Complaint(QStringLiteral("--%1 is missing.").arg(option));
        }
    }
    const QStringList folders = parser.positionalArguments();
    if (folders.size() != 2 || folders.contains(QString())) {
        return Complaint(QStringLiteral("RELEASE_DIR and OUTPUT_DIR are expected."));
    }
    CommandLine line;
    line.action = CommandLine::Action::Publish;
    PublishOptions &publish = line.publish;
    publish.version = parser.value(VersionOption);
    publish.minVersion = parser.value(MinVersionOption);
    publish.downloadUrl = parser.value(DownloadUrlOption);
    publish.versionString =
        parser.isSet(VersionStringOption) ? parser.value(VersionStringOption) : publish.version;
    publish.folder = parser.isSet(FolderOption) ? parser.value(FolderOption) : publish.version;
    publish.force = parser.isSet(ForceOption);
    publish.releaseDir = folders.at(0);
    publish.outputDir = folders.at(1);
    return line;
}

} // namespace

CommandLine ReadCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    AddOptions(parser);
    if (!parser.parse(arguments)) {
        return Complaint(parser.errorText());
    }
    if (parser.isSet(HelpOption)) {
        CommandLine line;
        line.action = CommandLine::Action::Help;
        line.text = parser.helpText();
        return line;
    }
    return parser.isSet(VerifyOption) ? VerifyLine(parser) : PublishLine(parser);
}

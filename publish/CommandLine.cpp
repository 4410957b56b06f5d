// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/CommandLine.h"

#include "publish/Help.h"

#include <QCommandLineParser>

namespace {

const QString VersionOption = QStringLiteral("version");
const QString MinVersionOption = QStringLiteral("min-version");
const QString DownloadUrlOption = QStringLiteral("download-url");
const QString VersionStringOption = QStringLiteral("version-string");
const QString FolderOption = QStringLiteral("folder");
const QString ApplicationOption = QStringLiteral("application");
const QString SignWithOption = QStringLiteral("sign-with");
const QString PublicKeyOption = QStringLiteral("public-key");
const QString DryRunOption = QStringLiteral("dry-run");
const QString ForceOption = QStringLiteral("force");
const QString StrictOption = QStringLiteral("strict");
const QString JsonOption = QStringLiteral("json");
const QString VerifyOption = QStringLiteral("verify");
const QString ListOption = QStringLiteral("list");
const QString AnnounceOption = QStringLiteral("announce");
const QString PruneOption = QStringLiteral("prune");
const QString HelpOption = QStringLiteral("help");

const QStringList OptionsWithValue{VersionOption,       MinVersionOption, DownloadUrlOption,
                                   VersionStringOption, FolderOption,     ApplicationOption,
                                   SignWithOption,      PublicKeyOption,  VerifyOption,
                                   ListOption,          AnnounceOption,   PruneOption};
const QStringList OptionsWithout{DryRunOption, ForceOption, StrictOption, JsonOption, HelpOption};

/// A form of the command line other than publishing, identified by its option.
struct Form {
    QString option;
    CommandLine::Action action;
    QStringList further; ///< options that may be combined with it
    bool takesOutput;    ///< whether OUTPUT_DIR follows the options
};

const QVector<Form> OtherForms{
    {VerifyOption, CommandLine::Action::Verify, {PublicKeyOption, StrictOption, JsonOption}, false},
    {ListOption, CommandLine::Action::List, {JsonOption}, false},
    {AnnounceOption,
     CommandLine::Action::Announce,
     {PublicKeyOption, StrictOption, JsonOption},
     true},
    {PruneOption, CommandLine::Action::Prune, {JsonOption}, true},
};

CommandLine Complaint(const QString &text)
{
    CommandLine line;
    line.text = text + QStringLiteral("\nTry publish_update --help.");
    return line;
}

CommandLine Printed(CommandLine::Action action, const QString &text)
{
    CommandLine line;
    line.action = action;
    line.text = text;
    return line;
}

/// Reads the public keys. Returns what is wrong with one, or empty text.
QString ReadPublicKeys(const QCommandLineParser &parser, QVector<PublicKey> &keys)
{
    const QStringList texts = parser.values(PublicKeyOption);
    for (const QString &text : texts) {
        PublicKey key;
        const QString reason = ReadPublicKey(text, key);
        if (!reason.isEmpty()) {
            return QStringLiteral("\"%1\" is not a public key: %2.").arg(text, reason);
        }
        keys.append(key);
    }
    return {};
}

/// Reads what to verify. Returns what is wrong with it, or empty text.
QString ReadVerified(QString text, CommandLine &line)
{
    while (text.size() > 1 && text.endsWith(QLatin1Char('/'))) {
        text.chop(1);
    }
    if (!text.contains(QStringLiteral("://"))) {
        line.outputDir = text;
        return text.isEmpty() ? QStringLiteral("--verify expects a base URL or a folder.")
                              : QString();
    }
    line.baseUrl = QUrl(text);
    const QString scheme = line.baseUrl.scheme();
    const bool web = scheme == QLatin1String("https") || scheme == QLatin1String("http");
    if (web && !line.baseUrl.host().isEmpty() && !line.baseUrl.hasQuery() &&
        !line.baseUrl.hasFragment()) {
        return {};
    }
    return QStringLiteral("\"%1\" is not a base URL: an https or http address without '?' and '#' "
                          "is expected.")
        .arg(text);
}

QString ReadKeep(const QString &text, CommandLine &line)
{
    bool isNumber = false;
    line.keep = text.toInt(&isNumber);
    return isNumber && line.keep >= 0
               ? QString()
               : QStringLiteral("\"%1\" is not a number of releases to keep.").arg(text);
}

CommandLine OtherLine(const QCommandLineParser &parser, const Form &form)
{
    const QStringList given = parser.optionNames();
    for (const QString &option : given) {
        if (option != form.option && !form.further.contains(option)) {
            return Complaint(
                QStringLiteral("--%1 and --%2 do not go together.").arg(form.option, option));
        }
    }
    CommandLine line;
    const QStringList folders = parser.positionalArguments();
    if (folders.size() != (form.takesOutput ? 1 : 0) || folders.contains(QString())) {
        return Complaint(form.takesOutput
                             ? QStringLiteral("--%1 expects OUTPUT_DIR.").arg(form.option)
                             : QStringLiteral("--%1 expects nothing else.").arg(form.option));
    }
    const QString value = parser.value(form.option);
    QString reason;
    switch (form.action) {
    case CommandLine::Action::Verify:
        reason = ReadVerified(value, line);
        break;
    case CommandLine::Action::Prune:
        reason = ReadKeep(value, line);
        break;
    default:
        reason =
            value.isEmpty() ? QStringLiteral("--%1 expects a name.").arg(form.option) : QString();
    }
    if (reason.isEmpty()) {
        reason = ReadPublicKeys(parser, line.publicKeys);
    }
    if (!reason.isEmpty()) {
        return Complaint(reason);
    }
    line.action = form.action;
    line.strict = parser.isSet(StrictOption);
    line.json = parser.isSet(JsonOption);
    if (form.takesOutput) {
        line.outputDir = folders.constFirst();
        line.folder = value;
    } else if (form.action == CommandLine::Action::List) {
        line.outputDir = value;
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
    line.json = parser.isSet(JsonOption);
    PublishOptions &publish = line.publish;
    publish.version = parser.value(VersionOption);
    publish.minVersion = parser.value(MinVersionOption);
    publish.downloadUrl = parser.value(DownloadUrlOption);
    publish.versionString =
        parser.isSet(VersionStringOption) ? parser.value(VersionStringOption) : publish.version;
    publish.folder = parser.isSet(FolderOption) ? parser.value(FolderOption) : publish.version;
    publish.application = parser.value(ApplicationOption);
    publish.signCommand = parser.value(SignWithOption);
    publish.force = parser.isSet(ForceOption);
    publish.strict = parser.isSet(StrictOption);
    publish.dryRun = parser.isSet(DryRunOption);
    publish.releaseDir = folders.at(0);
    publish.outputDir = folders.at(1);
    if (parser.isSet(SignWithOption) && publish.signCommand.trimmed().isEmpty()) {
        return Complaint(QStringLiteral("--%1 expects a command.").arg(SignWithOption));
    }
    if (parser.isSet(ApplicationOption) && publish.application.isEmpty()) {
        return Complaint(QStringLiteral("--%1 expects an identifier.").arg(ApplicationOption));
    }
    if (parser.isSet(PublicKeyOption) && publish.signCommand.isEmpty()) {
        return Complaint(QStringLiteral("--%1 checks what --%2 signs; --%2 is missing.")
                             .arg(PublicKeyOption, SignWithOption));
    }
    const QString reason = ReadPublicKeys(parser, publish.publicKeys);
    return reason.isEmpty() ? line : Complaint(reason);
}

} // namespace

CommandLine ReadCommandLine(const QStringList &arguments)
{
    // Alone, the option asks for the program's version; otherwise it sets the release's.
    if (arguments.mid(1) == QStringList(QStringLiteral("--") + VersionOption)) {
        return Printed(CommandLine::Action::Version,
                       QStringLiteral("publish_update " PUBLISH_UPDATE_VERSION));
    }
    QCommandLineParser parser;
    for (const QString &option : OptionsWithValue) {
        parser.addOption({option, QString(), QStringLiteral("VALUE")});
    }
    for (const QString &option : OptionsWithout) {
        parser.addOption(option == HelpOption
                             ? QCommandLineOption(QStringList{QStringLiteral("h"), option})
                             : QCommandLineOption(option));
    }
    if (!parser.parse(arguments)) {
        return Complaint(parser.errorText());
    }
    if (parser.isSet(HelpOption)) {
        return Printed(CommandLine::Action::Help, HelpText());
    }
    for (const Form &form : OtherForms) {
        if (parser.isSet(form.option)) {
            return OtherLine(parser, form);
        }
    }
    return PublishLine(parser);
}

QStringList KnownOptions()
{
    return OptionsWithValue + OptionsWithout;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/CommandLine.h"

#include <QCommandLineParser>
#include <QUrl>

#include <array>
#include <utility>

namespace {

using Task = UpdateOptions::Task;

const QString BaseUrlOption = QStringLiteral("base-url");
const QString InstallOption = QStringLiteral("install");
const QString StagingOption = QStringLiteral("staging");
const QString KeyOption = QStringLiteral("public-key");
const QString ApplicationOption = QStringLiteral("application");
const QString OlderOption = QStringLiteral("allow-older");
const QString CheckOption = QStringLiteral("check");
const QString FetchOption = QStringLiteral("fetch-only");
const QString ApplyOption = QStringLiteral("apply-only");
const QString RepairOption = QStringLiteral("repair");
const QString UndoOption = QStringLiteral("undo");
const QString NoBackupOption = QStringLiteral("no-backup");
const QString ManifestOption = QStringLiteral("manifest");
const QString StallOption = QStringLiteral("stall");
const QString AskOption = QStringLiteral("ask");
const QString StartOption = QStringLiteral("start");
const QString ConsoleOption = QStringLiteral("console");
const QString VersionOption = QStringLiteral("version");
const QString HelpOption = QStringLiteral("help");

const std::array<std::pair<QString, Task>, 5> Tasks{{{CheckOption, Task::Check},
                                                     {FetchOption, Task::FetchOnly},
                                                     {ApplyOption, Task::ApplyOnly},
                                                     {RepairOption, Task::Repair},
                                                     {UndoOption, Task::Undo}}};

void AddOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "Updates an installation in place to the release published under a base URL. A complete\n"
        "new tree is built beside it, and the two are exchanged atomically; whatever stops the\n"
        "program, the installation is entirely the old or entirely the new release. Downloaded\n"
        "files stay in the staging folder for the next run.\n\n"
        "Exit codes: 0 done, or nothing to do; 1 failed, cancelled or put off; 2 bad usage."));
    const auto option = [&parser](const QString &name, const char *text, const char *value = "") {
        parser.addOption({name, QString::fromUtf8(text), QString::fromUtf8(value)});
    };
    option(BaseUrlOption, "Where update.json is published.", "URL");
    option(InstallOption, "The installation to update; the folder around it must be writable.",
           "DIR");
    option(StagingOption, "Folder for downloads and state; made if missing.", "DIR");
    option(KeyOption,
           "Accept only releases signed with this key, one line of Base64. May be given several "
           "times: a good signature by one of them is enough.",
           "KEY");
    option(ApplicationOption, "Identifier that the release must have (default: the bundle's).",
           "ID");
    option(OlderOption, "Install the published release even if it is older.");
    option(CheckOption, "Report whether there is an update; change nothing.");
    option(FetchOption, "Fetch and verify, and leave the installation alone.");
    option(ApplyOption, "Install what was fetched before; needs no network.");
    option(RepairOption, "Check every file and restore what differs from the release.");
    option(UndoOption, "Go back to the tree before the last update, once.");
    option(NoBackupOption, "Do not keep the previous tree for --undo.");
    option(ManifestOption, "Where to keep the manifest of the installed release.", "FILE");
    option(StallOption, "Give up if the server sends nothing for this long (default: 60).",
           "SECONDS");
    option(AskOption, "Show the notice of a new version first.");
    option(StartOption,
           "Start this program at the end, whatever the result; may be relative to the "
           "installation.",
           "PROGRAM");
    option(ConsoleOption, "No windows: progress on standard error, a report on standard output.");
    option(VersionOption, "Show the version.");
    parser.addOption({{QStringLiteral("h"), HelpOption}, QStringLiteral("Show this help.")});
}

/// Returns why the requested tasks do not go together, or empty text.
QString ReadTask(const QCommandLineParser &parser, UpdateOptions &options)
{
    QString first;
    for (const auto &[name, task] : Tasks) {
        if (!parser.isSet(name)) {
            continue;
        }
        if (!first.isEmpty()) {
            return QStringLiteral("--%1 and --%2 exclude each other.").arg(first, name);
        }
        first = name;
        options.task = task;
    }
    return {};
}

bool NeedsNetwork(Task task)
{
    return task != Task::ApplyOnly && task != Task::Undo;
}

/// Returns what is missing or not allowed, or empty text.
QString MissingReason(const QCommandLineParser &parser, Task task)
{
    QStringList needed{InstallOption, StagingOption};
    if (NeedsNetwork(task)) {
        needed.prepend(BaseUrlOption);
    }
    for (const QString &option : qAsConst(needed)) {
        if (parser.value(option).isEmpty()) {
            return QStringLiteral("--%1 is missing.").arg(option);
        }
    }
    for (const QString &option : {ManifestOption, ApplicationOption, StartOption}) {
        if (parser.isSet(option) && parser.value(option).isEmpty()) {
            return QStringLiteral("--%1 is empty.").arg(option);
        }
    }
    if (!parser.positionalArguments().isEmpty()) {
        return QStringLiteral("\"%1\" is not expected.")
            .arg(parser.positionalArguments().constFirst());
    }
    return parser.isSet(AskOption) && parser.isSet(ConsoleOption)
               ? QStringLiteral("--ask needs windows and --console forbids them.")
               : QString();
}

bool IsBaseUrl(const QString &text)
{
    const QUrl url(text);
    const bool web =
        url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    return web && !url.host().isEmpty() && !url.hasQuery() && !url.hasFragment();
}

/// Reads the values that must have a certain form. Returns what is wrong with one, or empty text.
QString ReadValues(const QCommandLineParser &parser, UpdateOptions &options)
{
    options.baseUrl = parser.value(BaseUrlOption);
    while (options.baseUrl.endsWith(QLatin1Char('/'))) {
        options.baseUrl.chop(1);
    }
    if (NeedsNetwork(options.task) && !IsBaseUrl(options.baseUrl)) {
        return QStringLiteral("\"%1\" is not a base URL: an https or http address without '?' and "
                              "'#' is expected.")
            .arg(options.baseUrl);
    }
    const QStringList keys = parser.values(KeyOption);
    for (const QString &text : keys) {
        PublicKey key;
        const QString reason = ReadPublicKey(text, key);
        if (!reason.isEmpty()) {
            return QStringLiteral("\"%1\" is not a public key: %2.").arg(text, reason);
        }
        options.keys.append(key);
    }
    if (parser.isSet(StallOption)) {
        bool isNumber = false;
        options.stallSeconds = parser.value(StallOption).toInt(&isNumber);
        if (!isNumber || options.stallSeconds < 1 || options.stallSeconds > 86400) {
            return QStringLiteral("--%1: a number of seconds from 1 to 86400 is expected.")
                .arg(StallOption);
        }
    }
    return {};
}

void ReadRest(const QCommandLineParser &parser, UpdateOptions &options)
{
    options.install = parser.value(InstallOption);
    options.staging = parser.value(StagingOption);
    options.manifest = parser.value(ManifestOption);
    options.application = parser.value(ApplicationOption);
    options.startProgram = parser.value(StartOption);
    options.allowOlder = parser.isSet(OlderOption);
    options.keepPrevious = !parser.isSet(NoBackupOption);
    options.ask = parser.isSet(AskOption);
    options.console = parser.isSet(ConsoleOption);
}

} // namespace

UpdateCommand ReadUpdateCommand(const QStringList &arguments)
{
    UpdateCommand command;
    QCommandLineParser parser;
    AddOptions(parser);
    if (!parser.parse(arguments)) {
        command.text = parser.errorText();
    } else if (parser.isSet(HelpOption) || parser.isSet(VersionOption)) {
        command.action =
            parser.isSet(HelpOption) ? UpdateCommand::Action::Help : UpdateCommand::Action::Version;
        return command;
    } else {
        command.text = ReadTask(parser, command.options);
    }
    if (command.text.isEmpty()) {
        command.text = MissingReason(parser, command.options.task);
    }
    if (command.text.isEmpty()) {
        command.text = ReadValues(parser, command.options);
    }
    if (!command.text.isEmpty()) {
        command.text += QStringLiteral("\nTry inplace_update --help.");
        return command;
    }
    ReadRest(parser, command.options);
    command.action = UpdateCommand::Action::Update;
    return command;
}

QString UpdateHelp()
{
    QCommandLineParser parser;
    AddOptions(parser);
    return parser.helpText();
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/CommandLine.h"

#include "inplace/CommandOptions.h"

#include <QCommandLineParser>
#include <QUrl>

#include <array>
#include <utility>

namespace {

using Task = UpdateOptions::Task;

const std::array<std::pair<QString, Task>, 5> Tasks{{{CheckOption, Task::Check},
                                                     {FetchOption, Task::FetchOnly},
                                                     {ApplyOption, Task::ApplyOnly},
                                                     {RepairOption, Task::Repair},
                                                     {UndoOption, Task::Undo}}};

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
    AddUpdateOptions(parser);
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
    AddUpdateOptions(parser);
    return parser.helpText();
}

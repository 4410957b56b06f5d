// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/CommandLine.h"

#include <QCommandLineParser>
#include <QUrl>

namespace {

const QString BaseUrlOption = QStringLiteral("base-url");
const QString InstallOption = QStringLiteral("install");
const QString StagingOption = QStringLiteral("staging");
const QString ConsoleOption = QStringLiteral("console");
const QString HelpOption = QStringLiteral("help");

void AddOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "Updates an installation in place to the release that is published under a base URL.\n"
        "What was downloaded stays in the staging folder when the update is cancelled or fails,\n"
        "and is used by the next run; so is what an interrupted run left behind.\n\n"
        "Exit codes: 0 the installation is at the published release; 1 failed or cancelled;\n"
        "2 bad usage."));
    parser.addOptions({
        {BaseUrlOption, QStringLiteral("Where update.json is published."), "URL"},
        {InstallOption, QStringLiteral("The installation to update."), "DIR"},
        {StagingOption, QStringLiteral("Folder for files on their way; made if missing."), "DIR"},
        {ConsoleOption,
         QStringLiteral("No windows: progress on standard error, a report on standard output.")},
        {{"h", HelpOption}, QStringLiteral("Show this help.")},
    });
}

UpdateCommand Complaint(const QString &text)
{
    UpdateCommand command;
    command.text = text + QStringLiteral("\nTry inplace_update --help.");
    return command;
}

bool IsBaseUrl(const QString &text)
{
    const QUrl url(text);
    const bool web =
        url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    return web && !url.host().isEmpty() && !url.hasQuery() && !url.hasFragment();
}

} // namespace

UpdateCommand ReadUpdateCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    AddOptions(parser);
    if (!parser.parse(arguments)) {
        return Complaint(parser.errorText());
    }
    UpdateCommand command;
    if (parser.isSet(HelpOption)) {
        command.action = UpdateCommand::Action::Help;
        return command;
    }
    for (const QString &option : {BaseUrlOption, InstallOption, StagingOption}) {
        if (parser.value(option).isEmpty()) {
            return Complaint(QStringLiteral("--%1 is missing.").arg(option));
        }
    }
    if (!parser.positionalArguments().isEmpty()) {
        return Complaint(QStringLiteral("\"%1\" is not expected.")
                             .arg(parser.positionalArguments().constFirst()));
    }
    UpdateOptions &options = command.options;
    options.baseUrl = parser.value(BaseUrlOption);
    while (options.baseUrl.endsWith(QLatin1Char('/'))) {
        options.baseUrl.chop(1);
    }
    if (!IsBaseUrl(options.baseUrl)) {
        return Complaint(QStringLiteral("\"%1\" is not a base URL: an https or http address "
                                        "without '?' and '#' is expected.")
                             .arg(options.baseUrl));
    }
    options.install = parser.value(InstallOption);
    options.staging = parser.value(StagingOption);
    options.console = parser.isSet(ConsoleOption);
    command.action = UpdateCommand::Action::Update;
    return command;
}

QString UpdateHelp()
{
    QCommandLineParser parser;
    AddOptions(parser);
    return parser.helpText();
}

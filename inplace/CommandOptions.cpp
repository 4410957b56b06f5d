// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/CommandOptions.h"

#include <QCommandLineParser>

void AddUpdateOptions(QCommandLineParser &parser)
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

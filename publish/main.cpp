// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/StandardStreams.h"
#include "publish/Announce.h"
#include "publish/CommandLine.h"
#include "publish/ListReleases.h"
#include "publish/Prune.h"
#include "publish/Publish.h"
#include "publish/Report.h"
#include "publish/Verify.h"
#include "release/Messages.h"

#include <QCoreApplication>

#include <cstdlib>
#include <sys/stat.h>

namespace {

/// Lets a web server that runs as another user read what is published, whatever the umask says.
/// Whether the group may write is left to the umask.
void LetOthersRead()
{
    constexpr mode_t readAndEnter = 0055;
    const mode_t mask = ::umask(0);
    (void)::umask(mask & ~readAndEnter);
}

int Run(const CommandLine &line, Report &report)
{
    switch (line.action) {
    case CommandLine::Action::Publish:
        return Publish(line.publish, report);
    case CommandLine::Action::Verify:
        return Verify({line.baseUrl, line.outputDir, line.publicKeys, line.strict, {}}, report);
    case CommandLine::Action::List:
        return ListReleases(line.outputDir, report);
    case CommandLine::Action::Announce:
        return Announce({line.outputDir, line.folder, line.publicKeys, line.strict}, report);
    case CommandLine::Action::Prune:
        return Prune(line.outputDir, line.keep, report);
    case CommandLine::Action::Help:
    case CommandLine::Action::Version:
        return Say(line.text) ? EXIT_SUCCESS : OutputFailure();
    case CommandLine::Action::Complain:
        break;
    }
    return Complain(line.text);
}

} // namespace

int main(int argc, char *argv[])
{
    PrepareStandardStreams();
    LetOthersRead();
    const QCoreApplication application(argc, argv);
    const CommandLine line = ReadCommandLine(QCoreApplication::arguments());
    Report report(line.json ? Report::Form::Json : Report::Form::Words);
    return report.end(Run(line, report));
}

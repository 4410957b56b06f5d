// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/CommandLine.h"
#include "publish/Publish.h"
#include "publish/Verify.h"
#include "release/Messages.h"

#include <QCoreApplication>

#include <cstdlib>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const CommandLine line = ReadCommandLine(QCoreApplication::arguments());
    switch (line.action) {
    case CommandLine::Action::Publish:
        return Publish(line.publish);
    case CommandLine::Action::Verify:
        return Verify(line.baseUrl);
    case CommandLine::Action::Help:
        Say(line.text);
        return EXIT_SUCCESS;
    case CommandLine::Action::Complain:
        break;
    }
    return Complain(line.text);
}

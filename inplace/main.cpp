// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/CommandLine.h"
#include "inplace/FreedMemory.h"
#include "inplace/HostStart.h"
#include "inplace/InplaceUpdate.h"
#include "inplace/Report.h"
#include "inplace/WindowSystem.h"
#include "platform/QtDefaults.h"
#include "platform/StandardStreams.h"
#include "release/Messages.h"

#include <QApplication>
#include <QNetworkProxyFactory>

#include <cstdlib>

int main(int argc, char *argv[])
{
    ReturnFreedMemory();
    // The program that started the update may end, perhaps to be replaced by it; that must not end
    // the update.
    PrepareStandardStreams();
    // File names are UTF-8, as the manifest's are, whatever the locale is.
    UseUtf8FileNames();
    QCoreApplication::setApplicationName(QStringLiteral("inplace_update"));
    QCoreApplication::setApplicationVersion(QStringLiteral(UPDATER_VERSION));
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    const UpdateCommand command = ReadUpdateCommand(arguments);
    switch (command.action) {
    case UpdateCommand::Action::Help: {
        const QCoreApplication application(argc, argv);
        return Say(UpdateHelp().trimmed()) ? EXIT_SUCCESS : OutputFailure();
    }
    case UpdateCommand::Action::Version:
        return Say(QStringLiteral("inplace_update " UPDATER_VERSION)) ? EXIT_SUCCESS
                                                                      : OutputFailure();
    case UpdateCommand::Action::Complain:
        return Complain(command.text);
    case UpdateCommand::Action::Update:
        break;
    }
    StopSignals stop;
    const auto application = MakeApplication(argc, argv, command.options);
    const HostStart host(command.options.install, command.options.startProgram);
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    // Ends the current event loop, and makes later ones end at once.
    QObject::connect(&stop, &StopSignals::wanted, [] { QCoreApplication::exit(); });
    stop.watch();
    const Outcome outcome = UpdateInPlace(command.options, stop);
    host.start();
    return Report(outcome, command.options.console);
}

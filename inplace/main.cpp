// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/CommandLine.h"
#include "inplace/InplaceUpdate.h"
#include "inplace/Report.h"
#include "platform/StandardStreams.h"

#include <QApplication>
#include <QIcon>
#include <QNetworkProxyFactory>
#include <QTextCodec>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr int BadUsage = 2;

/// The console needs no display, so it gets an application without one.
std::unique_ptr<QCoreApplication> MakeApplication(int &argc, char **argv, bool windows)
{
    if (!windows) {
        return std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    auto application = std::make_unique<QApplication>(argc, argv);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icon")));
    return application;
}

} // namespace

int main(int argc, char *argv[])
{
    // Whoever started an update and goes away, perhaps to be replaced by it, must not end it.
    PrepareStandardStreams();
    // File names are UTF-8, as the manifest's are, whatever the locale is.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    const UpdateCommand command = ReadUpdateCommand(arguments);
    if (command.action == UpdateCommand::Action::Help) {
        const QCoreApplication application(argc, argv);
        (void)std::fputs(UpdateHelp().toUtf8().constData(), stdout);
        return EXIT_SUCCESS;
    }
    if (command.action == UpdateCommand::Action::Complain) {
        SayProgress(command.text);
        return BadUsage;
    }
    const auto application = MakeApplication(argc, argv, !command.options.console);
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    return Report(UpdateInPlace(command.options), command.options.console);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/WindowSystem.h"

#include "inplace/HostStart.h"
#include "inplace/Report.h"
#include "platform/QtDefaults.h"

#include <QApplication>
#include <QIcon>

#include <cstdlib>

namespace {

const UpdateOptions *WantedOptions = nullptr;

/// Receives Qt's messages while it looks for a display. The fatal one comes just before it aborts.
void OnMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtFatalMsg) {
        return;
    }
    HostStart(WantedOptions->install, WantedOptions->startProgram).start();
    Outcome outcome;
    outcome.end = End::NoDisplay;
    outcome.message = QObject::tr("没有可用的显示器:%1").arg(text.section(QLatin1Char('\n'), 0, 0));
    std::_Exit(Report(outcome, false));
}

} // namespace

std::unique_ptr<QCoreApplication> MakeApplication(int &argc, char **argv,
                                                  const UpdateOptions &options)
{
    if (!options.hasWindows()) {
        return std::make_unique<QCoreApplication>(argc, argv);
    }
    WantedOptions = &options;
    const QtMessageHandler before = qInstallMessageHandler(&OnMessage);
    EnableHighDpi();
    auto application = std::make_unique<QApplication>(argc, argv);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icon")));
    qInstallMessageHandler(before);
    WantedOptions = nullptr;
    return application;
}

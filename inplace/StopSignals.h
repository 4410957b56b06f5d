// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

/// Turns SIGINT, SIGTERM and SIGHUP into a stop request that the program polls, as long as this
/// object lives. One object at a time per process.
///
/// Long work asks isWanted() between its pieces; event loops end on wanted(). A signal that was
/// ignored before, as nohup does with SIGHUP, stays ignored. A file that grows past the process's
/// limit is a failed write from then on and does not end the process. Main thread, but isWanted().
class StopSignals : public QObject {
    Q_OBJECT

public:
    StopSignals();
    ~StopSignals() override;
    Q_DISABLE_COPY(StopSignals)

    /// Whether one of the signals has come. Callable on any thread.
    static bool isWanted();

    /// Lets the event loop emit wanted(). Call it once there is an application object.
    void watch();

signals:
    void wanted();

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

/// Turns SIGINT, SIGTERM and SIGHUP into a stop request that the program polls. One object at a
/// time per process; after it, these signals do nothing.
///
/// Long work checks isWanted() now and then; event loops end on wanted(). A signal that was ignored
/// before, as SIGHUP is by nohup, stays ignored. Exceeding the process's limit on file sizes
/// becomes a failed write and does not end the process. Main thread, except isWanted().
class StopSignals : public QObject {
    Q_OBJECT

public:
    StopSignals();
    ~StopSignals() override;
    Q_DISABLE_COPY(StopSignals)

    /// Whether one of the signals has arrived. Callable on any thread.
    static bool isWanted();

    /// Lets the event loop emit wanted(). Call it once there is an application object.
    void watch();

signals:
    void wanted();

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

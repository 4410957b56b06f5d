// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ui_UpdateProgress.h"

#include <QDialog>
#include <QFileInfo>
#include <QString>

class CDownloadThread;

/// Shows a download while its worker runs, and closes when the worker's thread finishes.
///
/// exec() returns QDialog::Accepted when the thread finished, for whatever reason: ask the worker
/// how the update went. The cancel button only asks the thread to quit. Escape closes the dialog
/// with QDialog::Rejected and leaves the worker alone.
class CUpdateProgress : public QDialog {
    Q_OBJECT

public:
    /// Connects itself to \a thread and starts it. The worker stays the caller's, must not have
    /// ended yet, and lives longer than the dialog. Main thread only.
    explicit CUpdateProgress(CDownloadThread &thread, QWidget *parent = nullptr);

    /// Shows that the transfer of \a filename begins, the \a current th of \a total from 0 on;
    /// \a total is not 0.
    void downloadStarted(QFileInfo filename, int current, int total);

    /// Shows how much of the current file has arrived. A share outside 0 to 100 percent, as from
    /// a \a bytesTotal of -1, leaves the bar as it is; so does a \a bytesTotal of 0.
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);

    /// Shows \a errormsg unchanged.
    void downloadFail(QFileInfo filename, QString errormsg);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Ui_CUpdateProgress m_ui;
};

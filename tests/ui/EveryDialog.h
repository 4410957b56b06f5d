// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"

#include <QDialog>
#include <QStringList>
#include <QTcpServer>
#include <QTemporaryDir>

#include <memory>
#include <optional>

/// Makes the dialogs by name, each as it is when it asks or shows something.
///
/// The progress dialog gets a worker that waits for a server that never answers.
class EveryDialog {
public:
    static QStringList names();

    /// Adds the column "name" with one row a dialog.
    static void addRows();

    EveryDialog() = default;
    ~EveryDialog();
    Q_DISABLE_COPY_MOVE(EveryDialog)

    std::unique_ptr<QDialog> make(const QString &name);

private:
    std::unique_ptr<QDialog> makeProgress();

    QTcpServer m_server;
    QTemporaryDir m_folder;
    std::optional<CDownloadThread> m_worker;
};

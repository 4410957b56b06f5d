// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"

/// Ends a worker if more arrives, or is announced, than the manifest lists.
///
/// The worker reads a body into memory whole before it compares the size, so a server could fill
/// the memory. The first transfer starts before a slot can be connected: until the second one, the
/// size of the largest file is the limit.
class SizeGuard : public QObject {
    Q_OBJECT

public:
    /// \a worker  is watched as long as this lives. \a listed: its records, with the sizes as in
    ///            the manifest.
    SizeGuard(CDownloadThread &worker, QList<tagDownloadFileInfo> listed);

    /// Returns why the worker was ended, or empty text.
    QString message() const { return m_message; }

private:
    void look(int64_t received, int64_t total);

    CDownloadThread &m_worker;
    const QList<tagDownloadFileInfo> m_listed;
    quint64 m_size = 0; // listed for the current file
    QString m_message;
};

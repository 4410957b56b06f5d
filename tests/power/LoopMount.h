// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// A file system in a file, mounted through its own loop device. Needs root and private mounts
/// (EnterOwnNamespaces()), so that both disappear with the process, however it ends.
class LoopMount {
public:
    /// Mounts \a image, of the kind \a fileSystem, on an existing \a folder. reason() says whether
    /// that succeeded.
    LoopMount(const QString &image, const QString &folder, const QString &fileSystem,
              const QByteArray &options);
    /// Unmounts it, unless that is done.
    ~LoopMount();
    Q_DISABLE_COPY(LoopMount)

    /// Why it could not be mounted, or empty text.
    QString reason() const { return m_reason; }
    QString folder() const { return m_folder; }
    /// Writes everything to the image.
    void sync() const;
    /// Unmounts it and gives the device back. Returns why that failed, or empty text.
    QString unmount();

private:
    void forget() const;

    const QString m_folder;
    const bool m_isBtrfs;
    QString m_device;
    QString m_reason;
    bool m_mounted = false;
};

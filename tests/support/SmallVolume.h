// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// A volume in memory (tmpfs), mounted on a folder, that can be filled up. Linux only.
class SmallVolume {
public:
    /// Mounts it on an existing folder; the process must have its own mounts
    /// (EnterOwnNamespaces()). Aborts the test if that fails.
    SmallVolume(const QString &folder, int mebibytes);
    ~SmallVolume();
    Q_DISABLE_COPY(SmallVolume)

    /// Fills it up, except for some pages or some new files. Callable on any thread.
    void fillAllBut(int pages) const;
    void takeAllNamesBut(int files) const;
    /// Undoes both.
    void makeRoom() const;

private:
    QString filler(int number) const;

    const QString m_folder;
};

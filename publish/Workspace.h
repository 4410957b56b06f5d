// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QString>
#include <QStringList>

/// A hidden folder in the output folder where a release is prepared, so that nobody fetches it yet.
/// While it lives, it keeps other publishers away from the output folder. It is removed at the end,
/// and so is an output folder that it created and that nothing was published in.
class Workspace {
public:
    /// Does nothing yet.
    explicit Workspace(const QString &outputDir);
    ~Workspace();
    Q_DISABLE_COPY(Workspace)

    /// Locks the output folder, removes what an interrupted run left in it and creates the empty
    /// release folder. Returns why that failed, or empty text. Call it once.
    QString open();

    /// The folder for the release's files. The manifest goes there too.
    QString releaseDir() const;

    /// Returns why no release can be published as the folder \a name, or empty text. Published
    /// folders are never changed.
    QString nameReason(const QString &name) const;

    /// Renames the release folder to the folder \a name of the output folder, then replaces
    /// update.json with the \a description. Each step is atomic and happens only when what it makes
    /// visible would survive a power loss. The files of the release must have been synced.
    ///
    /// Returns why that failed, or empty text. After a failure the output folder is as it was, or
    /// the next run restores it, with one exception: if only the final sync of the new update.json
    /// failed, the release is announced, and the text says so.
    QString publish(const QString &name, const QByteArray &description);

    /// Replaces update.json with the \a description atomically. Returns why that failed, or empty
    /// text.
    QString announce(const QByteArray &description);

    /// Hides the \a folders of releases, each atomically, and then removes them.
    ///
    /// \a hidden  receives those that were hidden.
    /// Returns why that failed, or empty text. What could not be removed is left for the next run.
    QString hide(const QStringList &folders, QStringList &hidden);

private:
    QString replaceDescription(const QString &prepared);
    QString makeOutput();
    QString lock();
    QString removeLeftovers();

    const QDir m_output;
    const QDir m_work;
    int m_lock = -1; ///< descriptor of the locked output folder
    bool m_opened = false;
    bool m_isKept = false; ///< whether the next run must take back what this one could not
    QStringList m_made;    ///< the output folder and those above it that were missing
};

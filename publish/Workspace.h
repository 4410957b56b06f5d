// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QString>
#include <QStringList>

/// A hidden folder in the output folder where a release is made ready, out of the sight of those
/// who fetch. It keeps other publishers away from the output folder for as long as it lives, and is
/// removed at the end; so is an output folder that it made and that nothing was published in.
class Workspace {
public:
    /// Does nothing yet.
    explicit Workspace(const QString &outputDir);
    ~Workspace();
    Q_DISABLE_COPY(Workspace)

    /// Takes the output folder, removes what an interrupted run left in it and makes the empty
    /// release folder. Returns why that failed, or empty text. To be called once.
    QString open();

    /// The folder for the release's files. The manifest goes there too.
    QString releaseDir() const;

    /// Returns why no release can be published as the folder \a name, or empty text. Published
    /// folders are never changed.
    QString nameReason(const QString &name) const;

    /// Shows the release folder as the folder \a name of the output folder, then puts the
    /// \a description in the place of update.json; each at one stroke, and only when what it shows
    /// would survive a loss of power. The files of the release must have been synced.
    ///
    /// Returns why that failed, or empty text. After a failure the output folder is as it was, or
    /// the next run makes it so; only when the wait for the new update.json to be safe has failed,
    /// the release is announced, and the text says so.
    QString publish(const QString &name, const QByteArray &description);

    /// Puts the \a description in the place of update.json at one stroke. Returns why that failed,
    /// or empty text.
    QString announce(const QByteArray &description);

    /// Takes the \a folders of releases out of sight, each at one stroke, and then removes them.
    ///
    /// \a hidden  gets those that are out of sight.
    /// Returns why that failed, or empty text. What could not be removed then is a leftover.
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
    bool m_isKept = false; ///< whether the next run has to take back what this one could not
    QStringList m_made;    ///< output folder and those above it, as far as they were missing
};

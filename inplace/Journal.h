// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Replacement.h"

/// Says, in the staging folder, what an update is about to do to an installation; it is there from
/// before the first change until the update is finished or undone.
class Journal {
public:
    Journal(const QDir &staging, const QDir &install);

    /// Reads what an interrupted run left. Returns why it must not be used, or empty text.
    QString read();
    /// Whether a run has left a journal. After read().
    bool wasLeft() const { return m_wasLeft; }
    /// The replacements of that run.
    QList<Replacement> replacements() const { return m_replacements; }

    /// Writes the replacements of this run, at one stroke and in the place of the former ones.
    /// Returns why that failed, or empty text.
    QString write(const QList<Replacement> &replacements) const;
    /// Ends the journal.
    void remove() const;

private:
    const QString m_path;
    const QString m_scratch;
    const QString m_install;
    bool m_wasLeft = false;
    QList<Replacement> m_replacements;
};

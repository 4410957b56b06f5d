// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/inplace/InplaceStage.h"

/// All kinds of calls that change something, for FailingCalls.
QStringList AllChanges();

/// The same update, repeatable: from the second edition of a bundle with every kind of entry to the
/// third. The installation was updated once before, so that there is a previous tree already.
class Rehearsal {
public:
    /// \a isApart  the staging folder is on another volume, which must exist.
    Rehearsal(int entries, bool isApart);

    /// Puts the installation and the staging folder back to before the update.
    void putBack() const;

    /// Returns empty text if the installation is entirely the old or entirely the new release,
    /// otherwise what is wrong.
    QString mixture() const;
    bool isNew() const { return stage->differences(release).isEmpty(); }

    /// Lets the next run complete what was stopped. Returns what is wrong then, or empty text.
    QString mend() const;

    TestRelease former;
    TestRelease release;
    std::unique_ptr<InplaceStage> stage;
    /// The folder around everything on the installation's volume, and the one around the staging
    /// folder.
    QString installSide() const { return stage->temporary.path(); }
    QString stagingSide() const { return m_apart ? m_apart->path() : installSide(); }

private:
    std::unique_ptr<QTemporaryDir> m_apart;
    QString m_master;
};

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
    enum class Scene {
        OneVolume,
        TwoVolumes, ///< the staging folder is on another volume, which must exist
        PlainFolder ///< the installation is not a bundle, and holds its manifest
    };

    Rehearsal(int entries, Scene scene);

    /// Puts the installation and the staging folder back to before the update.
    void putBack() const;

    /// What the installation is, compared entry by entry.
    struct State {
        bool isNew = false; ///< entirely the new release
        QString mixture;    ///< how it differs from the old release, if it is not the new one
    };
    State state() const;
    bool isNew() const { return state().isNew; }

    /// Lets the next run complete what was stopped. Returns what is wrong then, or empty text.
    ///
    /// \a wasNew  whether the installation was the new release already.
    QString mend(bool wasNew) const;

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

Q_DECLARE_METATYPE(Rehearsal::Scene)

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/power/FileSystem.h"

#include <QStringList>

#include <functional>

/// \file
/// What the tests of a loss of power have in common. UPDATER_FILE_SYSTEM and UPDATER_IMAGES in the
/// environment choose where and how often; UPDATER_SEED makes a run start from the same random
/// numbers.

/// What became of some images.
struct PowerTally {
    int images = 0;
    int losses = 0;
    int repaired = 0;     ///< images that the file system's own repair had to look at first
    int gone = 0;         ///< images whose file system could not be brought back; not in the others
    QStringList findings; ///< the first few

    void add(const QString &finding);
    /// No losses, and hardly ever a file system that was gone.
    bool isClean() const;
    /// One line for the page, and the findings.
    QString text() const;
};

/// What happens on recorded disks, and how it is judged.
struct PowerScene {
    int disks = 1;
    /// Lays out what is there before, in the folders that the disks are mounted on.
    std::function<void(const QStringList &tops)> prepare;
    /// Does what is interrupted, to its end.
    std::function<void(const QStringList &tops)> act;
    /// Looks at the disks after the power is back. \a done: it was cut after act() had ended.
    /// Returns what was lost, or empty text.
    std::function<QString(const QStringList &tops, bool done)> judge;
};

/// The file system to test on.
FileSystem ChosenFileSystem();

/// Returns the number of images to build, or \a otherwise when none is given.
int ChosenImages(int otherwise);

/// Adds a column "preloaded" with a row for each library that takes syncs out of a program: all of
/// them, and with many images those of files too, and of folders alone when \a ofFolders says that
/// a program is seen to lose something without these.
void AddLibrariesWithoutSyncs(bool ofFolders);

/// Gives the process mounts, a network and shared memory of its own, and a folder in memory for the
/// images. To be called before there is a second thread. \a reason says why tests of this kind
/// cannot run here, or is empty.
void EnterPowerTest(QString &reason);

/// Plays \a scene again and again, a new one for every few images, and judges these: in every other
/// play, a Neighbour is on the first disk. Prints a line with the figures.
PowerTally CutPower(const QString &name, int images,
                    const std::function<PowerScene(int play)> &scene);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/power/FileSystem.h"

#include <QStringList>

#include <functional>

/// \file
/// The common ground of the power-cut tests. The environment variables UPDATER_FILE_SYSTEM and
/// UPDATER_IMAGES choose where and how often they run; UPDATER_SEED repeats the random choices of a
/// run.

/// The results for some images.
struct PowerTally {
    int images = 0;
    int losses = 0;
    int repaired = 0;     ///< images that needed the file system's own repair first
    int gone = 0;         ///< images whose file system was lost; not counted above
    QStringList findings; ///< the first few

    void add(const QString &finding);
    /// No losses, and hardly any lost file systems.
    bool isClean() const;
    /// One line for the page, and the findings.
    QString text() const;
};

/// An action on recorded disks, and how its result is judged.
struct PowerScene {
    int disks = 1;
    /// Prepares the folders that the disks are mounted on.
    std::function<void(const QStringList &tops)> prepare;
    /// Runs the action to be interrupted, to its end.
    std::function<void(const QStringList &tops)> act;
    /// Checks the disks after the power is back. \a done: the power was cut after act() had ended.
    /// Returns what was lost, or empty text.
    std::function<QString(const QStringList &tops, bool done)> judge;
};

/// The file system to test on.
FileSystem ChosenFileSystem();

/// Returns the number of images to build, \a otherwise if none is given.
int ChosenImages(int otherwise);

/// Adds a column "preloaded" with a row for each library that removes syncs from a program: all
/// syncs; with many images, also those of files only; and, if \a ofFolders, those of folders only.
/// \a ofFolders: the tests can see a loss without the syncs of folders.
void AddLibrariesWithoutSyncs(bool ofFolders);

/// Gives the process its own mounts, network and shared memory, and a folder in memory for the
/// images. Call it before there is a second thread. \a reason receives why such tests cannot run
/// here, or empty text.
void EnterPowerTest(QString &reason);

/// Runs \a scene repeatedly, once for every few images, and judges these. In every other run, a
/// Neighbour is on the first disk. Prints a line with the figures.
PowerTally CutPower(const QString &name, int images,
                    const std::function<PowerScene(int play)> &scene);

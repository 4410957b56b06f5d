// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseSignature.h"

#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVector>

/// What to publish, and where.
struct PublishOptions {
    QString version;               ///< of the release
    QString minVersion;            ///< hosts at or below it are forced to update
    QString versionString;         ///< as shown to people
    QString downloadUrl;           ///< the page or package that the browser opens
    QString folder;                ///< of the release, below the output folder
    QString application;           ///< the bundle identifier; if empty, the property list's
    QString signCommand;           ///< for the shell; empty for a release without a signature
    QVector<PublicKey> publicKeys; ///< one of them must have signed
    QString releaseDir;            ///< holds the files to publish
    QString outputDir;             ///< the folder that the update base URL serves
    bool force = false;            ///< publish a version even if its number is refused
    bool strict = false;           ///< warnings count as failures
    bool dryRun = false;           ///< say what would be published, and write nothing
};

/// The command line's meaning.
struct CommandLine {
    enum class Action { Publish, Verify, List, Announce, Prune, Help, Version, Complain };

    Action action = Action::Complain;
    PublishOptions publish;        ///< for Publish
    QUrl baseUrl;                  ///< for Verify; without a separator at the end
    QString outputDir;             ///< for List, Announce, Prune, and Verify without an address
    QString folder;                ///< for Announce
    int keep = 0;                  ///< for Prune
    QVector<PublicKey> publicKeys; ///< for Verify and Announce
    bool strict = false;           ///< for Verify and Announce
    bool json = false;             ///< for every form with a report
    QString text;                  ///< for Help, Version and Complain, to be printed
};

/// Reads the program's \a arguments, its own name first. Checks only their form, not whether the
/// release may be published.
CommandLine ReadCommandLine(const QStringList &arguments);

/// The options that ReadCommandLine() knows, without the dashes.
QStringList KnownOptions();

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

/// What to publish, and where to.
struct PublishOptions {
    QString version;       ///< of the release
    QString minVersion;    ///< hosts at or below it are forced to update
    QString versionString; ///< as shown to people
    QString downloadUrl;   ///< the page or package that the browser opens
    QString folder;        ///< of the release, below the output folder
    QString releaseDir;    ///< holds the files to publish
    QString outputDir;     ///< what the update base URL stands for
    bool force = false;    ///< publish versions whose number loses something of them
};

/// What the command line asks for.
struct CommandLine {
    enum class Action { Publish, Verify, Help, Complain };

    Action action = Action::Complain;
    PublishOptions publish; ///< for Publish
    QUrl baseUrl;           ///< for Verify; without a separator at the end
    QString text;           ///< for Help and Complain, to be printed
};

/// Reads the program's \a arguments, its own name first. Judges how they are written only, not
/// whether such a release may be published.
CommandLine ReadCommandLine(const QStringList &arguments);

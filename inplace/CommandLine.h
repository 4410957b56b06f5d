// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseSignature.h"

#include <QString>
#include <QStringList>
#include <QVector>

/// What to do, with which folders, and whose signature to trust.
struct UpdateOptions {
    enum class Task {
        Update,
        Check,     ///< report whether there is an update; change nothing
        FetchOnly, ///< everything but the exchange
        ApplyOnly, ///< install what was fetched before, without a network
        Repair,    ///< check every file and restore what differs
        Undo,      ///< go back to the previous tree
    };

    Task task = Task::Update;
    QString baseUrl;          ///< where update.json is; without a separator at the end
    QString install;          ///< the installation's folder
    QString staging;          ///< the folder for downloads, and for records between runs
    QString manifest;         ///< where the installed manifest is; empty for the usual place
    QVector<PublicKey> keys;  ///< who may sign; if empty, signatures are not checked
    QString application;      ///< the required identifier; if empty, the installation's
    QString startProgram;     ///< started at the end; empty starts nothing
    int stallSeconds = 60;    ///< how long a server may send nothing
    bool allowOlder = false;  ///< also install an older release
    bool keepPrevious = true; ///< keep the previous tree for Undo
    bool ask = false;         ///< show the notice first
    bool console = false;     ///< no windows; a report on standard output

    bool hasWindows() const { return !console && task != Task::Check; }
};

/// The command line's meaning.
struct UpdateCommand {
    enum class Action { Update, Help, Version, Complain };

    Action action = Action::Complain;
    UpdateOptions options; ///< for Update
    QString text;          ///< for Complain, to be printed
};

/// Reads the program's \a arguments, its own name first. Checks their form only. Needs no
/// application object.
UpdateCommand ReadUpdateCommand(const QStringList &arguments);

/// Returns the text for Help. Needs an application object.
QString UpdateHelp();

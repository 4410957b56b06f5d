// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseSignature.h"

#include <QString>
#include <QStringList>
#include <QVector>

/// What to do, with which folders, and whom to believe.
struct UpdateOptions {
    enum class Task {
        Update,
        Check,     ///< say whether there is an update; change nothing
        FetchOnly, ///< everything but the exchange
        ApplyOnly, ///< what was fetched before, without a network
        Repair,    ///< look at every file and bring back what differs
        Undo,      ///< back to the former tree
    };

    Task task = Task::Update;
    QString baseUrl;          ///< where update.json lies; without a separator at the end
    QString install;          ///< the installation's folder
    QString staging;          ///< the folder for downloads, and for records between runs
    QString manifest;         ///< where the installed manifest is; empty for the usual place
    QVector<PublicKey> keys;  ///< who may sign; if empty, signatures are not checked
    QString application;      ///< the identifier to demand; if empty, the installation's
    QString startProgram;     ///< started at the end; empty starts nothing
    int stallSeconds = 60;    ///< how long a server may send nothing
    bool allowOlder = false;  ///< also install an older release
    bool keepPrevious = true; ///< keep the former tree for Undo
    bool ask = false;         ///< show the notice first
    bool console = false;     ///< no windows; a report on standard output

    bool hasWindows() const { return !console && task != Task::Check; }
};

/// What the command line asks for.
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

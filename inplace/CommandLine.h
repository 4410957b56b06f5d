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
    QString staging;          ///< the folder for files on their way, and for what is to be known
    QString manifest;         ///< the installed manifest's own place; empty for the usual one
    QVector<PublicKey> keys;  ///< who may sign; empty believes everybody
    QString application;      ///< the identifier to demand; empty takes the installation's
    QString startProgram;     ///< started at the end; empty starts nothing
    int stallSeconds = 60;    ///< how long a server may send nothing
    bool allowOlder = false;  ///< an older release is installed too
    bool keepPrevious = true; ///< the former tree stays for Undo
    bool ask = false;         ///< the notice comes first
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

/// Reads the program's \a arguments, its own name first. Judges how they are written only.
/// Needs no application object.
UpdateCommand ReadUpdateCommand(const QStringList &arguments);

/// Returns the text for Help. Needs an application object.
QString UpdateHelp();

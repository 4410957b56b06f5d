// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// What to update, and from where.
struct UpdateOptions {
    QString baseUrl;      ///< where update.json lies; without a separator at the end
    QString install;      ///< the installation's folder
    QString staging;      ///< the folder for files on their way
    bool console = false; ///< no windows; a report on standard output
};

/// What the command line asks for.
struct UpdateCommand {
    enum class Action { Update, Help, Complain };

    Action action = Action::Complain;
    UpdateOptions options; ///< for Update
    QString text;          ///< for Complain, to be printed
};

/// Reads the program's \a arguments, its own name first. Judges how they are written only.
/// Needs no application object.
UpdateCommand ReadUpdateCommand(const QStringList &arguments);

/// Returns the text for Help. Needs an application object.
QString UpdateHelp();

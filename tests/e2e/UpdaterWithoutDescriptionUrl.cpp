// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateSession.h"

#include <QString>

/// The updater with a base URL that is valid alone, but not with the description's name appended.
int main(int argc, char *argv[])
{
    return RunUpdateSession(argc, argv, QStringLiteral("x:"), QStringLiteral("/["));
}

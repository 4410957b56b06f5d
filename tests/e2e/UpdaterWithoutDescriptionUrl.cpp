// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateSession.h"

#include <QString>

/// The updater with a base URL that is valid alone and not together with the description's name.
int main(int argc, char *argv[])
{
    return RunUpdateSession(argc, argv, QStringLiteral("x:"), QStringLiteral("/["));
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "app/UpdateSession.h"

int main(int argc, char *argv[])
{
    return RunUpdateSession(argc, argv, QStringLiteral(UPDATE_BASE_URL), UPDATE_DESCRIBE_FILENAME);
}

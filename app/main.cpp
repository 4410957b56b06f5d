// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "BaseUrl.h"
#include "app/FileNames.h"
#include "app/UpdateSession.h"

// For `what` and `strings`: the one argument is the command, so there is no --version.
[[gnu::used]] static const char VersionMark[] = "@(#)updater " UPDATER_VERSION;

int main(int argc, char *argv[])
{
    return RunUpdateSession(argc, argv, UPDATE_BASE_URL, UPDATE_DESCRIBE_FILENAME);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

#include <cstdlib>

// Stands before the platform's function: the log's own rules are tested for any data directory, and
// for none.
const char *ApplicationHomePath()
{
    return std::getenv("DATA_DIRECTORY");
}

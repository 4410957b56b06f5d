// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

#include <cstdlib>

// Replaces the platform's function: the log's own rules are tested with any data directory, and
// with none.
const char *ApplicationHomePath()
{
    return std::getenv("DATA_DIRECTORY");
}

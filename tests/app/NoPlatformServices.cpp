// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

// Replace the platform's functions: a system that knows nothing.

const char *ApplicationHomePath()
{
    return nullptr;
}

const char *GetMainExecutableVersion()
{
    return nullptr;
}

int GetMainExecutableVersionNum()
{
    return 0;
}

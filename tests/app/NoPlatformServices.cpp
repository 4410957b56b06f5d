// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

// Stand before the platform's functions: a system that has nothing to tell.

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

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform_driver.h"

#include <cstdlib>

#include <pwd.h>

// Replaces the C library's function, so that no test sees the machine's password database.
passwd *getpwuid(uid_t)
{
    static passwd user{};
    user.pw_dir = std::getenv("PASSWORD_DATABASE_HOME");
    return user.pw_dir ? &user : nullptr;
}

std::uintptr_t DriverView()
{
    return 1;
}

int main(int argc, char **argv)
{
    return RunDriverCommands(argc, argv);
}

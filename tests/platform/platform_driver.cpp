// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform_driver.h"

#include "OrdinaryUser.h"
#include "platform/PlatformServices.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace {

void print(const char *name, const char *text)
{
    (void)std::printf("%s=%s\n", name, text ? text : "(null)");
}

bool runCommand(std::string_view command)
{
    if (command == "home") {
        print("home", ApplicationHomePath());
    } else if (command == "home length") {
        (void)std::printf("home length=%zu\n", std::strlen(ApplicationHomePath()));
    } else if (command == "version") {
        print("version", GetMainExecutableVersion());
    } else if (command == "number") {
        (void)std::printf("number=%d\n", GetMainExecutableVersionNum());
    } else if (command == "disk id") {
        print("disk id", GetDiskId());
    } else if (command == "uuid") {
        print("uuid", GetSystemUuid());
    } else if (command == "caption") {
        hideWindowCaptionBar(driverView());
    } else if (command == "ordinary user") {
        becomeOrdinaryUser();
    } else {
        return false;
    }
    return true;
}

bool runCommandOn(std::string_view command, const char *argument)
{
    std::error_code failed;
    if (command == "remove") {
        std::filesystem::remove_all(argument, failed);
    } else if (command == "change HOME") {
        failed.assign(setenv("HOME", argument, 1), std::generic_category());
    } else if (command == "go to") {
        std::filesystem::current_path(argument, failed);
    } else {
        return false;
    }
    return !failed;
}

} // namespace

int runDriverCommands(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (runCommand(argv[i])) {
            continue;
        }
        if (i + 1 == argc || !runCommandOn(argv[i], argv[i + 1])) {
            (void)std::fprintf(stderr, "command failed: %s\n", argv[i]);
            return 2;
        }
        ++i;
    }
    return 0;
}

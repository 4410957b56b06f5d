// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform_driver.h"

#include "OrdinaryUser.h"
#include "platform/PlatformServices.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace {

void Print(const char *name, const char *text)
{
    (void)std::printf("%s=%s\n", name, text ? text : "(null)");
}

bool RunCommand(std::string_view command)
{
    if (command == "home") {
        Print("home", ApplicationHomePath());
    } else if (command == "home length") {
        (void)std::printf("home length=%zu\n", std::strlen(ApplicationHomePath()));
    } else if (command == "version") {
        Print("version", GetMainExecutableVersion());
    } else if (command == "number") {
        (void)std::printf("number=%d\n", GetMainExecutableVersionNum());
    } else if (command == "disk id") {
        Print("disk id", GetDiskId());
    } else if (command == "uuid") {
        Print("uuid", GetSystemUuid());
    } else if (command == "caption") {
        hideWindowCaptionBar(DriverView());
    } else if (command == "ordinary user") {
        BecomeOrdinaryUser();
    } else {
        return false;
    }
    return true;
}

bool RunCommandOn(std::string_view command, const char *argument)
{
    std::error_code failed;
    if (command == "remove") {
        std::filesystem::remove_all(argument, failed);
    } else if (command == "change HOME") {
        const bool set = setenv("HOME", argument, 1) == 0 &&
                         setenv("CFFIXED_USER_HOME", argument, 1) == 0; // what macOS asks instead
        failed.assign(set ? 0 : errno, std::generic_category());
    } else if (command == "go to") {
        std::filesystem::current_path(argument, failed);
    } else {
        return false;
    }
    return !failed;
}

} // namespace

int RunDriverCommands(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (RunCommand(argv[i])) {
            continue;
        }
        if (i + 1 == argc || !RunCommandOn(argv[i], argv[i + 1])) {
            (void)std::fprintf(stderr, "command failed: %s\n", argv[i]);
            return 2;
        }
        ++i;
    }
    return 0;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "../platform_driver.h"
#include "Foundation.h"
#include "StandIn.h"

#import <AppKit/AppKit.h>

#include <cstdio>

// The runtime library never frees its tables. What the module must release is counted below.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" int __lsan_is_turned_off()
{
    return 1;
}

// Foundation's own locks are taken in more than one order.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" const char *__tsan_default_options()
{
    return "detect_deadlocks=0";
}

std::uintptr_t DriverView()
{
    static NSView *view = [NSView new];
    return reinterpret_cast<std::uintptr_t>(view);
}

int main(int argc, char *argv[])
{
    @autoreleasepool {
        InstallFoundationStandIns();
        const int exitCode = RunDriverCommands(argc, argv);
        (void)std::fprintf(stderr, "live objects: %d\n", LiveStandIns());
        return exitCode;
    }
}

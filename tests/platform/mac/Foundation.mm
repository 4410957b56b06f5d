// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Foundation.h"

#import <Foundation/Foundation.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <objc/runtime.h>

// The library's own reads the password database.
NSString *NSHomeDirectory(void)
{
    const char *home = std::getenv("HOME");
    return home ? [NSString stringWithUTF8String:home] : nil;
}

// The library's own puts date and process in front.
void NSLog(NSString *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    NSString *text = [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease];
    va_end(arguments);
    (void)std::fputs([text UTF8String], stderr);
}

// The library does not know the layout of a bundle with its executable in Contents/MacOS.
static NSDictionary *InfoDictionary(id, SEL)
{
    static NSDictionary *dictionary = nil;
    if (!dictionary) {
        const std::filesystem::path folder =
            std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
        NSString *path = [NSString stringWithUTF8String:(folder / "Info.plist").c_str()];
        dictionary = [[NSDictionary alloc] initWithContentsOfFile:path];
    }
    return dictionary;
}

void InstallFoundationStandIns()
{
    class_replaceMethod([NSBundle class], @selector(infoDictionary),
                        reinterpret_cast<IMP>(InfoDictionary), "@@:");
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#undef NDEBUG // with it, the library does not declare how it counts objects

#include "Foundation.h"
#include "StandIn.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

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

// The library's own does not stop at the ends of an int.
static int IntValue(NSString *text, SEL)
{
    const long long value = std::strtoll([text UTF8String], nullptr, 10);
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

static void InstallIntValue()
{
    const int count = objc_getClassList(nullptr, 0);
    std::vector<Class> classes(static_cast<std::size_t>(count));
    (void)objc_getClassList(classes.data(), count);
    for (Class kind : classes) {
        Class base = kind;
        while (base && base != [NSString class]) {
            base = class_getSuperclass(base);
        }
        if (base) {
            class_replaceMethod(kind, @selector(intValue), reinterpret_cast<IMP>(IntValue), "i@:");
        }
    }
}

static int LiveObjects()
{
    int count = 0;
    for (const Class *kind = GSDebugAllocationClassList(); *kind; ++kind) {
        count += GSDebugAllocationCount(*kind);
    }
    return count;
}

static BOOL (*fileExists)(id, SEL, NSString *, BOOL *); // the library's own

// With TRIES set, the last of so many questions for the data directory is answered with a folder,
// the others with a file. How many objects of the library exist at the second and at the last one
// is written down.
static BOOL FileExists(id manager, SEL selector, NSString *path, BOOL *isFolder)
{
    static const int tries = std::stoi(Scenario("TRIES"));
    static int asked = 0;
    if (![path hasSuffix:@"/.a.b.c"]) {
        return fileExists(manager, selector, path, isFolder);
    }
    ++asked;
    (void)[NSString stringWithFormat:@"%@", path]; // frameworks leave objects in the pool
    if (asked == 2 || asked == tries) {
        RecordCall("objects: " + std::to_string(LiveObjects()));
    }
    *isFolder = asked == tries;
    return YES;
}

void InstallFoundationStandIns()
{
    InstallIntValue();
    if (!Scenario("TRIES").empty()) {
        GSDebugAllocationActive(YES);
        const IMP own = class_replaceMethod([[NSFileManager defaultManager] class],
                                            @selector(fileExistsAtPath:isDirectory:),
                                            reinterpret_cast<IMP>(FileExists), "c@:@^c");
        fileExists = reinterpret_cast<decltype(fileExists)>(own);
    }
    class_replaceMethod([NSBundle class], @selector(infoDictionary),
                        reinterpret_cast<IMP>(InfoDictionary), "@@:");
}

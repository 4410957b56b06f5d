// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/InfoPlist.h"

#import <Foundation/Foundation.h>

#include <sys/stat.h>

namespace {

std::optional<std::string> TextItem(NSDictionary *list, NSString *key)
{
    const id item = [list objectForKey:key];
    if (![item isKindOfClass:[NSString class]]) {
        return std::nullopt;
    }
    const char *const text = [item UTF8String];
    return text ? std::make_optional<std::string>(text) : std::nullopt;
}

InfoPlist Parse(NSData *content)
{
    const id list = content ? [NSPropertyListSerialization propertyListWithData:content
                                                                        options:0
                                                                         format:nullptr
                                                                          error:nullptr]
                            : nil;
    if (![list isKindOfClass:[NSDictionary class]]) {
        return {};
    }
    return {TextItem(list, @"CFBundleIdentifier"), TextItem(list, @"CFBundleShortVersionString")};
}

} // namespace

// std::filesystem would need macOS 10.15, and the updater itself contains this file.
InfoPlist ReadInfoPlist(const std::string &path)
{
    constexpr off_t largest = 262144;
    struct stat about {};
    // Asked first: opening a named pipe would wait for a writer.
    if (::stat(path.c_str(), &about) != 0 || !S_ISREG(about.st_mode) || about.st_size > largest) {
        return {};
    }
    @autoreleasepool {
        return Parse([NSData dataWithContentsOfFile:[NSString stringWithUTF8String:path.c_str()]]);
    }
}

InfoPlist ParseInfoPlist(const std::string &content)
{
    @autoreleasepool {
        return Parse([NSData dataWithBytes:content.data() length:content.size()]);
    }
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/InfoPlist.h"

#import <Foundation/Foundation.h>

#include <system_error>

namespace fs = std::filesystem;

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

InfoPlist ReadInfoPlist(const fs::path &path)
{
    constexpr std::uintmax_t largest = 262144;
    std::error_code failed;
    // Asked first: opening a named pipe would wait for a writer.
    if (!fs::is_regular_file(path, failed) || fs::file_size(path, failed) > largest || failed) {
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

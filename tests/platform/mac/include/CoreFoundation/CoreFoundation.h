// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

/// \file
/// As much of the framework's interface as the platform module uses, with its names and types.

using Boolean = unsigned char;
using UInt8 = unsigned char;
using UInt32 = std::uint32_t;
using OSStatus = std::int32_t;
using CFIndex = long;
using CFTypeID = unsigned long;
using CFStringEncoding = UInt32;
using CFTypeRef = const void *;
using CFAllocatorRef = const struct CFAllocatorObject *;
using CFBundleRef = struct CFBundleObject *;
using CFDataRef = const struct CFDataObject *;
using CFDictionaryRef = const struct CFDictionaryObject *;
using CFErrorRef = struct CFErrorObject *;
using CFMutableDictionaryRef = struct CFDictionaryObject *;
using CFStringRef = const struct CFStringObject *;
using CFURLRef = const struct CFURLObject *;

struct CFRange {
    CFIndex location;
    CFIndex length;
};

constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;
constexpr std::uint32_t kNilOptions = 0;

extern "C" {
extern const CFAllocatorRef kCFAllocatorDefault;

CFStringRef CFSTR(const char *text);
CFBundleRef CFBundleGetMainBundle();
CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle);
CFIndex CFDataGetLength(CFDataRef data);
CFTypeID CFDataGetTypeID();
void CFDataGetBytes(CFDataRef data, CFRange range, UInt8 *buffer);
CFTypeID CFGetTypeID(CFTypeRef object);
CFRange CFRangeMake(CFIndex location, CFIndex length);
void CFRelease(CFTypeRef object);
Boolean CFStringGetCString(CFStringRef string, char *buffer, CFIndex size,
                           CFStringEncoding encoding);
CFTypeID CFStringGetTypeID();
}

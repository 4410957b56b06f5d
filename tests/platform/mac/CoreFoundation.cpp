// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstring>

namespace {

template <typename Reference>
Reference as(StandInObject *object)
{
    return reinterpret_cast<Reference>(object);
}

} // namespace

const CFAllocatorRef kCFAllocatorDefault = nullptr;

CFStringRef CFSTR(const char *text)
{
    return as<CFStringRef>(new StandInObject{StringType, text, text, false}); // lives for ever
}

CFBundleRef CFBundleGetMainBundle()
{
    static StandInObject bundle{OtherType, "main bundle", {}, false};
    return as<CFBundleRef>(&bundle);
}

CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle)
{
    recordCall("CFBundleCopyExecutableURL(" + nameOf(bundle) + ")");
    return scenario("EXECUTABLE_URL") == "none" ? nullptr : as<CFURLRef>(makeStandIn("URL"));
}

CFIndex CFDataGetLength(CFDataRef data)
{
    return static_cast<CFIndex>(standIn(data)->content.size());
}

CFTypeID CFDataGetTypeID()
{
    return DataType;
}

void CFDataGetBytes(CFDataRef data, CFRange range, UInt8 *buffer)
{
    const std::string &content = standIn(data)->content;
    std::memcpy(buffer, content.data() + range.location, static_cast<std::size_t>(range.length));
}

CFTypeID CFGetTypeID(CFTypeRef object)
{
    return standIn(object)->type;
}

CFRange CFRangeMake(CFIndex location, CFIndex length)
{
    return {location, length};
}

void CFRelease(CFTypeRef object)
{
    recordCall("CFRelease(" + nameOf(object) + ")");
    releaseStandIn(standIn(object));
}

Boolean CFStringGetCString(CFStringRef string, char *buffer, CFIndex size,
                           CFStringEncoding encoding)
{
    recordCall("CFStringGetCString(" + nameOf(string) + ", " + std::to_string(size) + ", " +
               (encoding == kCFStringEncodingUTF8 ? "UTF-8" : "another encoding") + ")");
    const std::string &content = standIn(string)->content;
    const bool fits = static_cast<CFIndex>(content.size()) < size;
    // Of a text that does not fit, the buffer holds a part, without an end.
    const std::size_t copied = fits ? content.size() + 1 : static_cast<std::size_t>(size);
    std::memcpy(buffer, content.c_str(), copied);
    return fits ? 1 : 0;
}

CFTypeID CFStringGetTypeID()
{
    return StringType;
}

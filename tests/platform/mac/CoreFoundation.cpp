// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstring>

namespace {

template <typename Reference>
Reference As(StandInObject *object)
{
    return reinterpret_cast<Reference>(object);
}

} // namespace

const CFAllocatorRef kCFAllocatorDefault = nullptr;

CFStringRef CFSTR(const char *text)
{
    return As<CFStringRef>(new StandInObject{StringType, text, text, false}); // lives forever
}

CFBundleRef CFBundleGetMainBundle()
{
    static StandInObject bundle{OtherType, "main bundle", {}, false};
    return As<CFBundleRef>(&bundle);
}

CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle)
{
    RecordCall("CFBundleCopyExecutableURL(" + NameOf(bundle) + ")");
    return Scenario("EXECUTABLE_URL") == "none" ? nullptr : As<CFURLRef>(MakeStandIn("URL"));
}

CFIndex CFDataGetLength(CFDataRef data)
{
    return static_cast<CFIndex>(ObjectOf(data)->content.size());
}

CFTypeID CFDataGetTypeID()
{
    return DataType;
}

void CFDataGetBytes(CFDataRef data, CFRange range, UInt8 *buffer)
{
    const std::string &content = ObjectOf(data)->content;
    std::memcpy(buffer, content.data() + range.location, static_cast<std::size_t>(range.length));
}

CFTypeID CFGetTypeID(CFTypeRef object)
{
    return ObjectOf(object)->type;
}

CFRange CFRangeMake(CFIndex location, CFIndex length)
{
    return {location, length};
}

void CFRelease(CFTypeRef object)
{
    RecordCall("CFRelease(" + NameOf(object) + ")");
    ReleaseStandIn(ObjectOf(object));
}

Boolean CFStringGetCString(CFStringRef string, char *buffer, CFIndex size,
                           CFStringEncoding encoding)
{
    RecordCall("CFStringGetCString(" + NameOf(string) + ", " + std::to_string(size) + ", " +
               (encoding == kCFStringEncodingUTF8 ? "UTF-8" : "another encoding") + ")");
    const std::string &content = ObjectOf(string)->content;
    const bool fits = static_cast<CFIndex>(content.size()) < size;
    // If the text does not fit, the buffer holds a part of it, unterminated.
    const std::size_t copied = fits ? content.size() + 1 : static_cast<std::size_t>(size);
    std::memcpy(buffer, content.c_str(), copied);
    return fits ? 1 : 0;
}

CFTypeID CFStringGetTypeID()
{
    return StringType;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include <IOKit/IOKitLib.h>

namespace {

constexpr io_service_t theService = 42;

StandInObject *serviceReference()
{
    static StandInObject *service = nullptr;
    return service = service && service->references > 0 ? service : makeStandIn("service");
}

// PROPERTY is "text:..." or "data:..." or "other" or "none".
CFTypeRef makeProperty()
{
    const std::string set = scenario("PROPERTY", "none");
    const std::string content = set.size() > 5 ? set.substr(5) : std::string();
    if (set.rfind("text:", 0) == 0) {
        return makeStandIn("text property", StringType, content);
    }
    if (set.rfind("data:", 0) == 0) {
        return makeStandIn("data property", DataType, content);
    }
    return set == "other" ? makeStandIn("other property") : nullptr;
}

} // namespace

const mach_port_t kIOMasterPortDefault = 0;

CFMutableDictionaryRef IOServiceMatching(const char *name)
{
    return reinterpret_cast<CFMutableDictionaryRef>(makeStandIn(std::string("matching ") + name));
}

io_service_t IOServiceGetMatchingService(mach_port_t port, CFDictionaryRef matching)
{
    recordCall("IOServiceGetMatchingService(" + std::to_string(port) + ", " + nameOf(matching) +
               ")");
    releaseStandIn(standIn(matching)); // consumed
    if (scenario("SERVICE") == "none") {
        return 0;
    }
    (void)serviceReference();
    return theService;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options)
{
    recordCall("IORegistryEntryCreateCFProperty(" + std::to_string(entry) + ", " +
               standIn(key)->content + ", " + (allocator ? "allocator" : "default allocator") +
               ", " + std::to_string(options) + ")");
    return makeProperty();
}

kern_return_t IOObjectRelease(io_object_t object)
{
    recordCall("IOObjectRelease(" + std::to_string(object) + ")");
    releaseStandIn(serviceReference());
    return 0;
}

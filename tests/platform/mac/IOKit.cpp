// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include <IOKit/IOKitLib.h>

namespace {

constexpr io_service_t theService = 42;

StandInObject *ServiceReference()
{
    static StandInObject *service = nullptr;
    return service = service && service->references > 0 ? service : MakeStandIn("service");
}

// PROPERTY is "text:..." or "data:..." or "other" or "none".
CFTypeRef MakeProperty()
{
    const std::string set = Scenario("PROPERTY", "none");
    const std::string content = set.size() > 5 ? set.substr(5) : std::string();
    if (set.rfind("text:", 0) == 0) {
        return MakeStandIn("text property", StringType, content);
    }
    if (set.rfind("data:", 0) == 0) {
        return MakeStandIn("data property", DataType, content);
    }
    return set == "other" ? MakeStandIn("other property") : nullptr;
}

} // namespace

const mach_port_t kIOMasterPortDefault = 0;

CFMutableDictionaryRef IOServiceMatching(const char *name)
{
    return reinterpret_cast<CFMutableDictionaryRef>(MakeStandIn(std::string("matching ") + name));
}

io_service_t IOServiceGetMatchingService(mach_port_t port, CFDictionaryRef matching)
{
    RecordCall("IOServiceGetMatchingService(" + std::to_string(port) + ", " + NameOf(matching) +
               ")");
    ReleaseStandIn(ObjectOf(matching)); // consumed
    if (Scenario("SERVICE") == "none") {
        return 0;
    }
    (void)ServiceReference();
    return theService;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options)
{
    RecordCall("IORegistryEntryCreateCFProperty(" + std::to_string(entry) + ", " +
               ObjectOf(key)->content + ", " + (allocator ? "allocator" : "default allocator") +
               ", " + std::to_string(options) + ")");
    return MakeProperty();
}

kern_return_t IOObjectRelease(io_object_t object)
{
    RecordCall("IOObjectRelease(" + std::to_string(object) + ")");
    ReleaseStandIn(ServiceReference());
    return 0;
}

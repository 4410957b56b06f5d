// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// \file
/// As much of the framework's interface as the platform module uses, with its names and types.

using mach_port_t = unsigned int;
using io_object_t = mach_port_t;
using io_registry_entry_t = io_object_t;
using io_service_t = io_object_t;
using kern_return_t = int;
using IOOptionBits = UInt32;

extern "C" {
extern const mach_port_t kIOMasterPortDefault;

CFMutableDictionaryRef IOServiceMatching(const char *name);
io_service_t IOServiceGetMatchingService(mach_port_t port, CFDictionaryRef matching);
CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options);
kern_return_t IOObjectRelease(io_object_t object);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// \file
/// As much of the framework's interface as the platform module uses, with its names and values.

using SecCSFlags = std::uint32_t;
using SecRequirementRef = struct SecRequirementObject *;
using SecStaticCodeRef = const struct SecCodeObject *;

constexpr OSStatus errSecSuccess = 0;
constexpr SecCSFlags kSecCSDefaultFlags = 0;
constexpr SecCSFlags kSecCSDoNotValidateExecutable = 1U << 1;
constexpr SecCSFlags kSecCSDoNotValidateResources = 1U << 2;

extern "C" {
OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef *code);
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef *requirement);
OSStatus SecStaticCodeCheckValidityWithErrors(SecStaticCodeRef code, SecCSFlags flags,
                                              SecRequirementRef requirement, CFErrorRef *errors);
}

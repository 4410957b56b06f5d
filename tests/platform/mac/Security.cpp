// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include <Security/Security.h>

namespace {

// Without a scenario the requirement is one that the code does not meet.
constexpr const char *requirementFailed = "-67050";

OSStatus Answer(const char *variable, const char *otherwise = "0")
{
    return std::stoi(Scenario(variable, otherwise));
}

} // namespace

OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef *code)
{
    RecordCall("SecStaticCodeCreateWithPath(" + NameOf(path) + ", " + std::to_string(flags) + ")");
    const OSStatus status = Answer("STATIC_CODE_STATUS");
    if (status == errSecSuccess) {
        *code = reinterpret_cast<SecStaticCodeRef>(MakeStandIn("static code"));
    }
    return status;
}

OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef *requirement)
{
    RecordCall("SecRequirementCreateWithString(" + ObjectOf(text)->content + ", " +
               std::to_string(flags) + ")");
    const OSStatus status = Answer("REQUIREMENT_STATUS");
    if (status == errSecSuccess) {
        *requirement = reinterpret_cast<SecRequirementRef>(MakeStandIn("requirement"));
    }
    return status;
}

OSStatus SecStaticCodeCheckValidityWithErrors(SecStaticCodeRef code, SecCSFlags flags,
                                              SecRequirementRef requirement, CFErrorRef *errors)
{
    RecordCall("SecStaticCodeCheckValidityWithErrors(" + NameOf(code) + ", " +
               std::to_string(flags) + ", " + NameOf(requirement) + ", " +
               (errors ? "errors" : "null") + ")");
    return Answer("VALIDITY_STATUS", requirementFailed);
}

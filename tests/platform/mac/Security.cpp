// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include <Security/Security.h>

namespace {

// Without a scenario the requirement is one that the code does not meet.
constexpr const char *requirementFailed = "-67050";

OSStatus answer(const char *variable, const char *otherwise = "0")
{
    return std::stoi(scenario(variable, otherwise));
}

} // namespace

OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef *code)
{
    recordCall("SecStaticCodeCreateWithPath(" + nameOf(path) + ", " + std::to_string(flags) + ")");
    const OSStatus status = answer("STATIC_CODE_STATUS");
    if (status == errSecSuccess) {
        *code = reinterpret_cast<SecStaticCodeRef>(makeStandIn("static code"));
    }
    return status;
}

OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef *requirement)
{
    recordCall("SecRequirementCreateWithString(" + standIn(text)->content + ", " +
               std::to_string(flags) + ")");
    const OSStatus status = answer("REQUIREMENT_STATUS");
    if (status == errSecSuccess) {
        *requirement = reinterpret_cast<SecRequirementRef>(makeStandIn("requirement"));
    }
    return status;
}

OSStatus SecStaticCodeCheckValidityWithErrors(SecStaticCodeRef code, SecCSFlags flags,
                                              SecRequirementRef requirement, CFErrorRef *errors)
{
    recordCall("SecStaticCodeCheckValidityWithErrors(" + nameOf(code) + ", " +
               std::to_string(flags) + ", " + nameOf(requirement) + ", " +
               (errors ? "errors" : "null") + ")");
    return answer("VALIDITY_STATUS", requirementFailed);
}

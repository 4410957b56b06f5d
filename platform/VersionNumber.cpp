// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/VersionNumber.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>

namespace {

int IntValue(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }

    constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9') {
            break;
        }
        value = value * 10 + (negative ? '0' - digit : digit - '0');
        value = std::clamp(value, lowest, highest);
    }
    return static_cast<int>(value);
}

// Unsigned arithmetic wraps where int's would be undefined.
std::uint32_t Weighted(std::string_view number, std::uint32_t weight)
{
    return static_cast<std::uint32_t>(IntValue(number)) * weight;
}

} // namespace

int VersionNumber(const char *text)
{
    const std::string_view version(text ? text : "");
    const std::size_t firstDot = version.find('.');
    if (firstDot == std::string_view::npos) {
        return 0; // a version without a dot is worth 0 on purpose, not its number
    }

    const std::uint32_t major = Weighted(version.substr(0, firstDot), 1000000);
    const std::string_view rest = version.substr(firstDot + 1);
    const std::size_t secondDot = rest.find('.');
    if (secondDot == std::string_view::npos) {
        // The minor number of a two-part version is dropped on purpose.
        return static_cast<int>(major);
    }

    const std::uint32_t minor = Weighted(rest.substr(0, secondDot), 10000);
    const std::uint32_t patch = Weighted(rest.substr(secondDot + 1), 1);
    return static_cast<int>(patch + minor + major);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/VersionNumber.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The oracle: the same sum made of texts and of numbers that cannot overflow.
namespace {

std::int64_t Number(std::string text)
{
    text.erase(0, std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.substr(0, 1) == "-";
    if (negative || text.substr(0, 1) == "+") {
        text.erase(0, 1);
    }
    text.erase(std::min(text.find_first_not_of("0123456789"), text.size()));
    text.erase(0, std::min(text.find_first_not_of('0'), text.size()));
    const std::string largest = negative ? "2147483648" : "2147483647";
    if (text.size() > largest.size() || (text.size() == largest.size() && text > largest)) {
        text = largest;
    }
    const std::int64_t value = text.empty() ? 0 : std::stoll(text);
    return negative ? -value : value;
}

std::vector<std::string> Parts(const std::string &text)
{
    std::vector<std::string> parts(1);
    for (const char character : text) {
        if (character == '.') {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

std::int64_t Sum(const std::vector<std::string> &parts)
{
    switch (parts.size()) {
    case 1:
        return 0;
    case 2:
        return Number(parts[0]) * 1000000;
    default:
        return Number(parts[0]) * 1000000 + Number(parts[1]) * 10000 + Number(parts[2]);
    }
}

std::int64_t WrappedIn32Bits(std::int64_t sum)
{
    constexpr std::int64_t turn = std::int64_t{1} << 32;
    const std::int64_t rest = ((sum % turn) + turn) % turn;
    return rest < turn / 2 ? rest : rest - turn;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string content(data, data + size);
    const std::string text = content.substr(0, content.find('\0'));
    Require(VersionNumber(content.c_str()) == WrappedIn32Bits(Sum(Parts(text))),
            "the sum of the weighted numbers");
    return 0;
}

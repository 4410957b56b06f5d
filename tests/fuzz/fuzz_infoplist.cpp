// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/InfoPlist.h"
#include "tests/fuzz/Require.h"

#include <plist/plist.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

// The oracle: a walk over every item of the same property list. In XML only: a binary one may hold
// keys with a NUL, over which the walk ends the program.
namespace {

struct PlistDeleter {
    void operator()(void *node) const { plist_free(node); }
};

using Owned = std::unique_ptr<void, PlistDeleter>;
using OwnedText = std::unique_ptr<char, decltype(&std::free)>;

Owned XmlRoot(const std::string &content)
{
    plist_t root = nullptr;
    plist_from_xml(content.data(), static_cast<std::uint32_t>(content.size()), &root);
    return Owned(root);
}

std::optional<std::string> FirstText(const Owned &root, const std::string &wanted)
{
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        return std::nullopt;
    }
    plist_dict_iter start = nullptr;
    plist_dict_new_iter(root.get(), &start);
    const OwnedText iterator(static_cast<char *>(start), &std::free);
    for (;;) {
        char *key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(root.get(), iterator.get(), &key, &item);
        const OwnedText ownedKey(key, &std::free);
        if (!item) {
            return std::nullopt;
        }
        if (key && key == wanted) {
            const char *text = plist_get_node_type(item) == PLIST_STRING
                                   ? plist_get_string_ptr(item, nullptr)
                                   : nullptr;
            return text ? std::make_optional<std::string>(text) : std::nullopt;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string content(data, data + size);
    const InfoPlist info = ParseInfoPlist(content);
    if (content.rfind("bplist", 0) == 0) {
        return 0;
    }
    const Owned root = XmlRoot(content);
    Require(info.identifier == FirstText(root, "CFBundleIdentifier"), "the identifier");
    Require(info.version == FirstText(root, "CFBundleShortVersionString"), "the version");
    return 0;
}

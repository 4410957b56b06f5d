// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/InfoPlist.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace fs = std::filesystem;

namespace {

struct PlistDeleter {
    void operator()(void *node) const { plist_free(node); }
};

struct FileCloser {
    void operator()(std::FILE *file) const { (void)std::fclose(file); }
};

// Returns empty text unless the file is readable and of a plausible size.
std::string ReadSmallFile(const std::string &path)
{
    // Also bounds the nesting: the parser recurses into nested lists.
    constexpr std::uintmax_t largest = 262144;
    std::error_code failed;
    // Checked first: opening a named pipe would wait for a writer.
    if (!fs::is_regular_file(path, failed)) {
        return {};
    }
    const std::uintmax_t size = fs::file_size(path, failed);
    if (failed || size > largest) {
        return {};
    }
    // Not a C++ stream: the first one loads the locales, which no session needs.
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    std::string content(size, '\0');
    content.resize(file ? std::fread(content.data(), 1, content.size(), file.get()) : 0);
    return content;
}

// Returns nullopt if this is not a dictionary, the key is missing or the item is not text.
std::optional<std::string> TextItem(plist_t dictionary, const char *key)
{
    // Not plist_get_string_val(): it aborts the program if the text contains a NUL.
    const char *text = plist_get_string_ptr(plist_dict_get_item(dictionary, key), nullptr);
    return text ? std::make_optional<std::string>(text) : std::nullopt;
}

} // namespace

InfoPlist ReadInfoPlist(const std::string &path)
{
    return ParseInfoPlist(ReadSmallFile(path));
}

InfoPlist ParseInfoPlist(const std::string &content)
{
    const auto length = static_cast<std::uint32_t>(content.size());
    plist_t root = nullptr;
    if (plist_is_binary(content.data(), length)) {
        plist_from_bin(content.data(), length, &root);
    } else {
        plist_from_xml(content.data(), length, &root);
    }
    const std::unique_ptr<void, PlistDeleter> owned(root);
    return {TextItem(root, "CFBundleIdentifier"), TextItem(root, "CFBundleShortVersionString")};
}

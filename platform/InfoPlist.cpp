// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/InfoPlist.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct PlistDeleter {
    void operator()(void *node) const { plist_free(node); }
};

class OpenFile { // closed on every path
public:
    // Without O_NONBLOCK, opening a named pipe would wait for a writer.
    explicit OpenFile(const std::string &path)
        : m_file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
    {
    }
    ~OpenFile()
    {
        if (m_file >= 0) {
            (void)close(m_file);
        }
    }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    int number() const { return m_file; }

private:
    const int m_file;
};

// Returns empty text unless the file is readable and of a plausible size.
//
// Neither std::filesystem nor a C++ stream: they bring parts of their library into memory that no
// session needs.
std::string ReadSmallFile(const std::string &path)
{
    // Also bounds the nesting: the parser recurses into nested lists.
    constexpr off_t largest = 262144;
    const OpenFile file(path);
    struct stat status {};
    if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > largest) {
        return {};
    }
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t length = read(file.number(), content.data(), content.size());
    content.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
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

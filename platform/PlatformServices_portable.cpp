// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

#include "platform/VersionNumber.h"

#include <plist/plist.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <pwd.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t homePathSize = 512;
std::array<char, homePathSize + 1> home_path; // the last byte stays zero: a full text ends there
bool init_home_path = false;

struct MainBundleInfo {
    std::optional<std::string> identifier;
    std::optional<std::string> version;
};

struct PlistDeleter {
    void operator()(void *node) const { plist_free(node); }
};

struct FileCloser {
    void operator()(std::FILE *file) const { (void)std::fclose(file); }
};

fs::path infoPlistPath()
{
    std::error_code failed;
    const fs::path folder = fs::read_symlink("/proc/self/exe", failed).parent_path();
    const bool bundled =
        folder.filename() == "MacOS" && folder.parent_path().filename() == "Contents";
    return (bundled ? folder.parent_path() : folder) / "Info.plist";
}

// Returns empty text for what is no readable file of a believable size.
std::string readSmallFile(const fs::path &path)
{
    // Bounds the nesting too: the parser descends into lists of lists by recursion.
    constexpr std::uintmax_t largest = 262144;
    std::error_code failed;
    // Asked first: opening a named pipe would wait for a writer.
    if (!fs::is_regular_file(path, failed)) {
        return {};
    }
    const std::uintmax_t size = fs::file_size(path, failed);
    if (failed || size > largest) {
        return {};
    }
    // Not a C++ stream: the first one brings in the locales, which no session needs.
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    std::string content(size, '\0');
    content.resize(file ? std::fread(content.data(), 1, content.size(), file.get()) : 0);
    return content;
}

// Returns nothing for a dictionary that is none, a key that is missing and an item that is no text.
std::optional<std::string> textItem(plist_t dictionary, const char *key)
{
    char *text = nullptr;
    plist_get_string_val(plist_dict_get_item(dictionary, key), &text);
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return text ? std::make_optional<std::string>(text) : std::nullopt;
}

MainBundleInfo readMainBundleInfo()
{
    const std::string content = readSmallFile(infoPlistPath());
    const auto length = static_cast<std::uint32_t>(content.size());
    plist_t root = nullptr;
    if (plist_is_binary(content.data(), length)) {
        plist_from_bin(content.data(), length, &root);
    } else {
        plist_from_xml(content.data(), length, &root);
    }
    const std::unique_ptr<void, PlistDeleter> owned(root);
    return {textItem(root, "CFBundleIdentifier"), textItem(root, "CFBundleShortVersionString")};
}

const MainBundleInfo &mainBundleInfo()
{
    static const MainBundleInfo info = readMainBundleInfo();
    return info;
}

std::string homeDirectory()
{
    const char *home = std::getenv("HOME");
    if (home && *home) {
        return home;
    }
    const passwd *user = getpwuid(getuid());
    return user && user->pw_dir ? user->pw_dir : "(null)";
}

// Returns whether path is a folder, making it first if nothing of that name exists.
bool provideFolder(const std::string &path)
{
    std::error_code failed;
    const fs::file_status status = fs::status(path, failed);
    if (fs::exists(status)) {
        return fs::is_directory(status);
    }
    fs::create_directories(path, failed);
    if (failed) {
        return false;
    }
    (void)std::fprintf(stderr, "createDirectoryAtPath:path=%s\n", path.c_str());
    return true;
}

} // namespace

const char *ApplicationHomePath()
{
    if (init_home_path) {
        return home_path.data();
    }
    std::string path = homeDirectory() + "/." + mainBundleInfo().identifier.value_or("(null)");
    while (!provideFolder(path)) {
        path.insert(0, "."); // before the whole path and without limit, both on purpose
    }
    (void)std::fprintf(stderr, "not sandboxed:path=%s,writable=%d\n", path.c_str(),
                       access(path.c_str(), W_OK) == 0 ? 1 : 0);
    std::strncpy(home_path.data(), path.c_str(), homePathSize);
    init_home_path = true;
    return home_path.data();
}

const char *GetMainExecutableVersion()
{
    const std::optional<std::string> &version = mainBundleInfo().version;
    return version ? version->c_str() : nullptr;
}

int GetMainExecutableVersionNum()
{
    return VersionNumber(GetMainExecutableVersion());
}

void hideWindowCaptionBar(std::uintptr_t) {}

const char *GetDiskId()
{
    return "";
}

const char *GetSystemUuid()
{
    return "";
}

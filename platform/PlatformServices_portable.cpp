// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

#include "platform/InfoPlist.h"
#include "platform/VersionNumber.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include <pwd.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t HomePathSize = 512;
std::array<char, HomePathSize + 1> home_path; // the last byte stays zero: a full text ends there
bool init_home_path = false;

fs::path InfoPlistPath()
{
    std::error_code failed;
    const fs::path folder = fs::read_symlink("/proc/self/exe", failed).parent_path();
    const bool bundled =
        folder.filename() == "MacOS" && folder.parent_path().filename() == "Contents";
    return (bundled ? folder.parent_path() : folder) / "Info.plist";
}

const InfoPlist &MainBundleInfo()
{
    static const InfoPlist info = ReadInfoPlist(InfoPlistPath().native());
    return info;
}

std::string HomeDirectory()
{
    const char *home = std::getenv("HOME");
    if (home && *home) {
        return home;
    }
    const passwd *user = getpwuid(getuid());
    return user && user->pw_dir ? user->pw_dir : "(null)";
}

// Returns whether path is a folder, making it first if nothing of that name exists.
bool ProvideFolder(const std::string &path)
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
    std::string path = HomeDirectory() + "/." + MainBundleInfo().identifier.value_or("(null)");
    while (!ProvideFolder(path)) {
        path.insert(0, "."); // before the whole path and without limit, both on purpose
    }
    (void)std::fprintf(stderr, "not sandboxed:path=%s,writable=%d\n", path.c_str(),
                       access(path.c_str(), W_OK) == 0 ? 1 : 0);
    std::strncpy(home_path.data(), path.c_str(), HomePathSize);
    init_home_path = true;
    return home_path.data();
}

const char *GetMainExecutableVersion()
{
    const std::optional<std::string> &version = MainBundleInfo().version;
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

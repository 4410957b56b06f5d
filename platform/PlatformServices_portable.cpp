// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

#include "platform/InfoPlist.h"
#include "platform/VersionNumber.h"

#include <array>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t HomePathSize = 512;
std::array<char, HomePathSize + 1> home_path; // the last byte stays zero: a full text ends there
bool init_home_path = false;

// The folder that path is in; path itself if it has no slash.
std::string FolderOf(const std::string &path)
{
    return path.substr(0, path.rfind('/'));
}

bool EndsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string InfoPlistPath()
{
    std::array<char, PATH_MAX> program{}; // the last byte stays zero
    (void)readlink("/proc/self/exe", program.data(), program.size() - 1);
    const std::string folder = FolderOf(program.data());
    const bool bundled = EndsWith(folder, "/Contents/MacOS");
    return (bundled ? FolderOf(folder) : folder) + "/Info.plist";
}

const InfoPlist &MainBundleInfo()
{
    static const InfoPlist info = ReadInfoPlist(InfoPlistPath());
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
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode);
    }
    for (std::size_t end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
        (void)mkdir(path.substr(0, end).c_str(), 0777); // a missing folder shows in the next step
    }
    if (mkdir(path.c_str(), 0777) != 0) {
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

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/EntryCheck.h"

#include "release/FileCalls.h"
#include "release/SystemCalls.h"

#include <cerrno>
#include <string>
#include <string_view>

namespace {

constexpr mode_t PermissionBits = 07777;
constexpr mode_t SpecialBits = 07000;
constexpr mode_t OthersMayWrite = 0022;
constexpr mode_t OwnerMayRead = 0400;
constexpr mode_t OwnerMayEnter = 0500;

} // namespace

qint64 LastChange(const struct stat &status)
{
    constexpr qint64 second = 1000000000;
    const timespec time = ModificationTime(status);
    return time.tv_sec * second + time.tv_nsec;
}

QString ModeReason(mode_t mode)
{
    const QString text = QStringLiteral("its mode %1 ")
                             .arg(static_cast<uint>(mode & PermissionBits), 4, 8, QLatin1Char('0'));
    if ((mode & SpecialBits) != 0) {
        return text + QStringLiteral("has a set-uid, set-gid or sticky bit");
    }
    if ((mode & OthersMayWrite) != 0) {
        return text + QStringLiteral("lets others than its owner write (chmod go-w)");
    }
    const mode_t needed = S_ISDIR(mode) ? OwnerMayEnter : OwnerMayRead;
    if ((mode & needed) != needed) {
        return text + QStringLiteral("does not let its owner read it");
    }
    return {};
}

QString AttributeReason(const std::filesystem::path &path)
{
    // Systems other than macOS store such attributes as user attributes.
    constexpr std::string_view signature = "com.apple.cs.";
    constexpr std::string_view copied = "user.com.apple.cs.";
    const ssize_t size = ListAttributes(path.c_str(), nullptr, 0);
    if (size < 0 && errno != ENOTSUP && errno != EPERM) {
        return QStringLiteral("its extended attributes cannot be read: %1").arg(SystemError());
    }
    if (size <= 0) {
        return {};
    }
    std::string names(static_cast<std::size_t>(size), '\0');
    const ssize_t read = ListAttributes(path.c_str(), names.data(), names.size());
    if (read < 0) {
        return QStringLiteral("its extended attributes cannot be read: %1").arg(SystemError());
    }
    names.resize(static_cast<std::size_t>(read));
    for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
        const std::string_view name(names.c_str() + at);
        if (name.substr(0, signature.size()) == signature ||
            name.substr(0, copied.size()) == copied) {
            return QStringLiteral("its code signature is in an extended attribute, which a web "
                                  "server does not serve");
        }
    }
    return {};
}

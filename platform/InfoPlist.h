// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>

/// \file
/// Reads a bundle's property list. Callable on any thread.

/// What is read from a property list. A text ends at its first NUL.
struct InfoPlist {
    std::optional<std::string> identifier; ///< CFBundleIdentifier, if it is a text
    std::optional<std::string> version;    ///< CFBundleShortVersionString, if it is a text
};

/// Reads the file at \a path. Gives no items if it is not a regular file, cannot be read or is
/// larger than any property list should be (256 KiB).
InfoPlist ReadInfoPlist(const std::string &path);

/// Reads a property list in XML or binary form. Gives no items if it is neither.
InfoPlist ParseInfoPlist(const std::string &content);

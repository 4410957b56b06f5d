// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <string>
#include <vector>

/// What a complete manifest says, in its own bytes.
struct OracleManifest {
    /// What the manifest says about a path: the fields of its lines without the path, such as
    /// {"MD5", "SIZE", "@file", "SHA256", "MODE"}.
    using Entry = std::vector<std::string>;

    /// The fields of the lines before the paths, by their first one.
    std::map<std::string, std::vector<std::string>> head;
    std::map<std::string, Entry> paths; ///< in the order of their bytes
    bool hasUnknownLines = false;
};

/// Reads a complete manifest once more, slowly and one rule after the other, without any of the
/// project's own checks but DownloadUrlReason(). Returns which rule the \a content breaks, or null.
///
/// Letters beyond ASCII are taken as they are: of those, names that differ in letter case or
/// normalisation only are not found, and broken UTF-8 is not either.
const char *ReadByRules(const std::string &content, OracleManifest &manifest);

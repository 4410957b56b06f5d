// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/fuzz/ManifestOracle.h"

#include "release/Formats.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>

namespace {

using Fields = std::vector<std::string>;

Fields Pieces(const std::string &text, char separator)
{
    Fields pieces(1);
    for (const char byte : text) {
        if (byte == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += byte;
        }
    }
    return pieces;
}

std::string Joined(const Fields &names, std::size_t count)
{
    std::string path;
    for (std::size_t i = 0; i < count; ++i) {
        path += (i == 0 ? "" : "/") + names[i];
    }
    return path;
}

std::string Small(std::string text)
{
    for (char &byte : text) {
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
    }
    return text;
}

bool IsMadeOf(const std::string &text, const std::string &letters)
{
    return text.find_first_not_of(letters) == std::string::npos;
}

bool IsNumber(const std::string &text)
{
    errno = 0;
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    return errno == 0 && number >= -2147483648LL && number <= 2147483647LL &&
           std::to_string(number) == text;
}

bool IsSize(const std::string &text)
{
    return !text.empty() && text.size() <= 8 && IsMadeOf(text, "0123456789abcdef") &&
           (text == "0" || text[0] != '0') &&
           std::strtoull(text.c_str(), nullptr, 16) < 0x80000000ULL - 64;
}

/// Four octal digits: the first is 0, the second has 4 in it, the others have no 2 in them.
bool IsMode(const std::string &text, bool ofFolder)
{
    return text.size() == 4 && text[0] == '0' &&
           std::string(ofFolder ? "57" : "4567").find(text[1]) != std::string::npos &&
           IsMadeOf(text.substr(2), "0145");
}

bool IsSafe(const std::string &path)
{
    const Fields names = Pieces(path, '/');
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string &name = names[i];
        const bool isFolder = i + 1 < names.size();
        // Of a name with letters beyond ASCII, "a dot and one letter" has more bytes.
        if (name.empty() || name == "." || name == ".." || name.size() > 251 ||
            (isFolder && name.size() == 2 && name[0] == '.')) {
            return false;
        }
    }
    const std::string top = Small(names[0]);
    return path.size() <= 1023 &&
           path.find_first_of(std::string("\0\t\r\\#?%", 7)) == std::string::npos &&
           top != "update_md5.info" && top != "update_md5.info.minisig";
}

bool IsFolderName(const std::string &name)
{
    const bool isTaken = name.rfind(".publish_update", 0) == 0 || Small(name) == "update.json" ||
                         name.find('/') != std::string::npos ||
                         (name.size() == 2 && name[0] == '.');
    return !isTaken && (IsSafe(name) || Small(name).rfind("update_md5.info", 0) == 0);
}

/// Takes the lines apart and checks each by itself.
class Reading {
public:
    explicit Reading(OracleManifest &manifest) : m_manifest(manifest) {}

    const char *read(const std::string &content)
    {
        if (content.empty() || content.back() != '\n') {
            return "the last line ends";
        }
        if (content.find_first_of(std::string("\r\0\\", 3)) != std::string::npos) {
            return "no CR, NUL or backslash";
        }
        for (const std::string &line : Pieces(content.substr(0, content.size() - 1), '\n')) {
            m_fields = Pieces(line, '\t');
            const char *const broken = readLine(line);
            if (broken) {
                return broken;
            }
        }
        if (!m_awaited.empty()) {
            return "a @file follows";
        }
        return m_hasFile ? nullptr : "there is a file";
    }

private:
    const char *readLine(const std::string &line)
    {
        if (!m_awaited.empty()) {
            return readFile();
        }
        if (line.empty() || line[0] != '@') {
            return readThreeFields();
        }
        if (m_fields.size() == 3) {
            return "no '@' with three fields";
        }
        if (line.compare(0, 2, "@!") == 0) {
            return "no unknown line that counts";
        }
        const std::string &name = m_fields[0];
        if (name == "@file") {
            return "@file comes after its file";
        }
        if (name == "@link" || name == "@folder") {
            return readLinkOrFolder();
        }
        const Fields order{"@release", "@application", "@minimum", "@page"};
        const auto place = std::find(order.begin(), order.end(), name);
        if (place == order.end()) {
            m_manifest.hasUnknownLines = true;
            return nullptr;
        }
        return readHead(static_cast<int>(place - order.begin()));
    }

    const char *readHead(int place)
    {
        if (!m_manifest.paths.empty() || place < m_next || (place == 3 && m_next < 3)) {
            return "the head is in its order";
        }
        if (m_fields.size() != (place == 0 ? 4 : 2)) {
            return "a head line has its fields";
        }
        m_next = place + 1;
        m_manifest.head[m_fields[0]] = m_fields;
        switch (place) {
        case 0:
            return IsNumber(m_fields[1]) && IsFolderName(m_fields[2]) ? nullptr : "a release";
        case 1:
            return m_fields[1].empty() ? "an application" : nullptr;
        case 2:
            return IsNumber(m_fields[1]) ? nullptr : "a minimum";
        default:
            return DownloadUrlReason(QString::fromStdString(m_fields[1])).isEmpty() ? nullptr
                                                                                    : "a page";
        }
    }

    const char *readThreeFields()
    {
        if (m_fields.size() != 3) {
            return "three fields";
        }
        if (m_fields[0].size() != 32 || !IsMadeOf(m_fields[0], "0123456789abcdef") ||
            !IsSize(m_fields[1])) {
            return "an MD5 text and a size";
        }
        m_awaited = m_fields[2];
        m_hasFile = true;
        return addPath(m_fields[2], {m_fields[0], m_fields[1]});
    }

    const char *readFile()
    {
        if (m_fields.size() != 4 || m_fields[0] != "@file" || m_fields[3] != m_awaited) {
            return "a @file follows";
        }
        if (m_fields[1].size() != 64 || !IsMadeOf(m_fields[1], "0123456789abcdef") ||
            !IsMode(m_fields[2], false)) {
            return "a SHA-256 and a mode";
        }
        OracleManifest::Entry &entry = m_manifest.paths[m_awaited];
        entry.insert(entry.end(), m_fields.begin(), m_fields.end() - 1);
        m_awaited.clear();
        return nullptr;
    }

    const char *readLinkOrFolder()
    {
        if (m_fields.size() != 4 || m_fields[2] != "-") {
            return "four fields, the third a dash";
        }
        if (m_fields[0] == "@folder" && !IsMode(m_fields[1], true)) {
            return "a folder's mode";
        }
        return addPath(m_fields[3], {m_fields[0], m_fields[1]});
    }

    const char *addPath(const std::string &path, const OracleManifest::Entry &entry)
    {
        if (m_next < 3) {
            return "the head comes first";
        }
        if (!IsSafe(path)) {
            return "a safe path";
        }
        if (!m_manifest.paths.empty() && m_manifest.paths.rbegin()->first >= path) {
            return "paths in the order of their bytes";
        }
        m_manifest.paths[path] = entry;
        return nullptr;
    }

    OracleManifest &m_manifest;
    Fields m_fields;
    std::string m_awaited; // the path whose @file comes next
    int m_next = 0;        // the head line that may come next
    bool m_hasFile = false;
};

/// The release as it would lie on a disk.
class Disk {
public:
    explicit Disk(const OracleManifest &manifest) : m_manifest(manifest)
    {
        for (const auto &[path, entry] : manifest.paths) {
            const Fields names = Pieces(path, '/');
            for (std::size_t count = 1; count < names.size(); ++count) {
                m_folders.insert(Joined(names, count));
            }
        }
    }

    const char *brokenRule() const
    {
        for (const auto &[path, entry] : m_manifest.paths) {
            const bool holdsSomething = m_folders.count(path) > 0;
            if (holdsSomething && (entry[0] != "@folder" || entry[1] == "0755")) {
                return "only a folder of a mode of its own has a line and something in it";
            }
            if (entry[0] == "@link" && !leadsSomewhere(path, entry[1])) {
                return "a link leads to something";
            }
        }
        return brokenRuleOfNames();
    }

private:
    const char *brokenRuleOfNames() const
    {
        std::set<std::string> all = m_folders;
        for (const auto &[path, entry] : m_manifest.paths) {
            all.insert(path);
        }
        std::set<std::string> small;
        for (const std::string &path : all) {
            if (!small.insert(Small(path)).second) {
                return "names differ in more than letter case";
            }
        }
        for (const auto &[path, entry] : m_manifest.paths) {
            if (entry.size() == 5 && small.count(Small(path) + ".old") > 0) {
                return "the name of a kept copy is free";
            }
        }
        return nullptr;
    }

    /// Walks as a file system does, one name after the other.
    bool leadsSomewhere(const std::string &link, const std::string &target) const
    {
        Fields here = Pieces(link, '/');
        here.pop_back();
        Fields ahead = Pieces(target, '/');
        if (target.empty() || target[0] == '/' || target.size() > 1023 ||
            target.find_first_of("#?%") != std::string::npos) {
            return false;
        }
        bool isFile = false;
        for (int links = 1; !ahead.empty();) {
            const std::string name = ahead.front();
            ahead.erase(ahead.begin());
            if (isFile) {
                return false;
            }
            if (name.empty() || name == ".") {
                continue;
            }
            if (name == "..") {
                if (here.empty()) {
                    return false;
                }
                here.pop_back();
                continue;
            }
            here.push_back(name);
            const std::string path = Joined(here, here.size());
            const auto found = m_manifest.paths.find(path);
            if (found == m_manifest.paths.end()) {
                if (m_folders.count(path) == 0) {
                    return false;
                }
                continue;
            }
            isFile = found->second.size() == 5;
            if (found->second[0] == "@link") {
                if (++links > 32) {
                    return false;
                }
                here.pop_back();
                const Fields further = Pieces(found->second[1], '/');
                ahead.insert(ahead.begin(), further.begin(), further.end());
            }
        }
        return true;
    }

    const OracleManifest &m_manifest;
    std::set<std::string> m_folders; // above the paths
};

} // namespace

const char *ReadByRules(const std::string &content, OracleManifest &manifest)
{
    const char *const broken = Reading(manifest).read(content);
    return broken ? broken : Disk(manifest).brokenRule();
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/fuzz/PathOracle.h"

#include <QUrl>

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::u32string>;

/// Appends the canonical form of a letter, ignoring case and composition.
void AppendPlain(std::u32string &text, char32_t letter)
{
    // From U+00C0 on: the letter and its mark, in pairs; blanks where there is no mark.
    static const std::u32string composed =
        U"a\u0300a\u0301a\u0302a\u0303a\u0308a\u030A\u00E6 c\u0327e\u0300e\u0301e\u0302e\u0308"
        U"i\u0300i\u0301i\u0302i\u0308\u00F0 n\u0303o\u0300o\u0301o\u0302o\u0303o\u0308\u00D7 "
        U"\u00F8 u\u0300u\u0301u\u0302u\u0308y\u0301\u00FE ";
    if (letter >= U'A' && letter <= U'Z') {
        text += static_cast<char32_t>(letter + 32);
        return;
    }
    if (letter >= 0xE0 && letter <= 0xFE && letter != 0xF7) {
        letter -= 32;
    }
    if (letter >= 0xC0 && letter <= 0xDE) {
        const std::size_t place = std::size_t{letter - 0xC0} * 2;
        text += composed[place];
        const char32_t mark = composed[place + 1];
        text.append(mark == U' ' ? 0 : 1, mark);
        return;
    }
    const bool capital = (letter >= 0x391 && letter <= 0x3A9) ||                  // Greek
                         (letter >= 0x410 && letter <= 0x42F && letter != 0x419); // Cyrillic
    text += static_cast<char32_t>(capital ? letter + 32 : letter);
}

Names NamesOf(const QString &path)
{
    Names names(1);
    for (const uint letter : path.toUcs4()) {
        if (letter == U'/' || letter == U'\\') {
            names.emplace_back();
        } else {
            AppendPlain(names.back(), letter);
        }
    }
    return names;
}

/// Whether every name leads exactly one folder down.
bool StaysInside(const Names &names)
{
    return std::none_of(names.begin(), names.end(), [](const std::u32string &name) {
        return name.empty() || name == U"." || name == U".." ||
               name.find(U'\0') != std::u32string::npos;
    });
}

/// Whether every name has room for ".old" in the 255 bytes that a file system allows.
bool HasShortNames(const QString &path)
{
    std::size_t length = 0;
    for (const char byte : path.toUtf8()) {
        length = byte == '/' ? 0 : length + 1;
        if (length > 251) {
            return false;
        }
    }
    return true;
}

/// Whether a server that undoes the percent encoding is asked for exactly this path.
bool IsFetchedAsItStands(const QString &path)
{
    const QString base = QStringLiteral("https://update.example.com/mac/folder/");
    const QUrl url(base + path, QUrl::TolerantMode);
    return url.isValid() && !url.hasQuery() && !url.hasFragment() &&
           url.host() == QLatin1String("update.example.com") &&
           QByteArray::fromPercentEncoding(url.toEncoded()) == (base + path).toUtf8();
}

const char *BrokenRuleOfOne(const QString &path, const Names &names)
{
    if (!StaysInside(names)) {
        return "a path stays inside the tree";
    }
    if (!HasShortNames(path)) {
        return "a name has room for its suffix";
    }
    if (!IsFetchedAsItStands(path)) {
        return "a path is fetched as it stands";
    }
    return names.front() == U"update_md5.info" ? "the manifest's name is taken" : nullptr;
}

} // namespace

const char *BrokenPathRule(const QStringList &paths)
{
    std::set<Names> files;
    std::set<Names> folders;
    std::set<QString> spelled;
    for (const QString &path : paths) {
        const Names names = NamesOf(path);
        if (const char *rule = BrokenRuleOfOne(path, names)) {
            return rule;
        }
        if (!files.insert(names).second) {
            return "no two files have one name";
        }
        for (auto end = names.end() - 1; end != names.begin(); --end) {
            const bool isNew = folders.emplace(names.begin(), end).second;
            const QString spelling =
                path.section('/', 0, static_cast<int>(end - names.begin()) - 1);
            if (spelled.insert(spelling).second != isNew) {
                return "a folder is spelled in one way";
            }
        }
    }
    for (Names names : files) {
        if (folders.count(names) > 0) {
            return "no file is a folder too";
        }
        names.back() += U".old";
        if (files.count(names) > 0 || folders.count(names) > 0) {
            return "the name of a kept copy is free";
        }
    }
    return nullptr;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ManifestNames.h"

#include "release/ReleasePaths.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>

namespace {

constexpr Bytes KeptSuffix = ".old"; // as it is folded

bool IsAscii(Bytes text)
{
    unsigned char all = 0;
    for (const char byte : text) {
        all |= static_cast<unsigned char>(byte);
    }
    return all < 0x80;
}

char FoldedLetter(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
}

/// FoldedPath() as UTF-8, with a fast way for ASCII. For safe paths, which are short.
class Folded {
public:
    explicit Folded(Bytes path)
    {
        if (!IsAscii(path) || path.size() > m_plain.size()) {
            m_other = FoldedPath(Shown(path)).toStdString();
            m_text = m_other;
            return;
        }
        std::transform(path.begin(), path.end(), m_plain.begin(), FoldedLetter);
        m_text = Bytes(m_plain.data(), path.size());
    }
    Q_DISABLE_COPY(Folded)

    Bytes text() const { return m_text; }
    std::size_t hash() const { return std::hash<Bytes>()(m_text); }

private:
    std::array<char, LongestPath> m_plain; // NOLINT(*-member-init): written as far as it is used
    std::string m_other;
    Bytes m_text;
};

bool EndsWith(Bytes text, Bytes end)
{
    return text.size() > end.size() && text.substr(text.size() - end.size()) == end;
}

} // namespace

void ManifestNames::Problem::note(int atLine, const QString &text)
{
    if (line == 0 || atLine < line) {
        line = atLine;
        reason = AtLine(atLine, text);
    }
}

void ManifestNames::add(Bytes path, std::size_t place)
{
    const Folded folded(path);
    if (EndsWith(folded.text(), KeptSuffix)) {
        m_likeKept.push_back(place);
    }
    m_names.push_back({folded.hash(), place});
}

QString ManifestNames::reason(const Entries &at)
{
    std::sort(m_names.begin(), m_names.end(), [](const Name &one, const Name &other) {
        return one.hash != other.hash ? one.hash < other.hash : one.place < other.place;
    });
    Problem first;
    for (auto from = m_names.cbegin(); from != m_names.cend();) {
        const auto end = std::find_if(from, m_names.cend(),
                                      [from](const Name &name) { return name.hash != from->hash; });
        if (end - from > 1) {
            FindSame(from, end, at, first);
        }
        from = end;
    }
    for (const std::size_t place : m_likeKept) {
        findKept(at(place), at, first);
    }
    return first.reason;
}

/// Finds names that are the same when folded, among those with the same hash.
void ManifestNames::FindSame(Names from, Names end, const Entries &at, Problem &first)
{
    std::map<std::string, const ManifestEntry *> known;
    for (; from != end; ++from) {
        const ManifestEntry &entry = at(from->place);
        const auto [other, isNew] = known.emplace(Folded(entry.path).text(), &entry);
        if (!isNew) {
            const ManifestEntry &later = entry.line < other->second->line ? *other->second : entry;
            first.note(later.line,
                       QStringLiteral(
                           "\"%1\" and \"%2\" differ only in letter case or Unicode normalisation")
                           .arg(Shown(other->second->path), Shown(entry.path)));
        }
    }
}

/// Checks whether a path that ends in ".old" takes the name of a file's ".old" copy.
void ManifestNames::findKept(const ManifestEntry &taken, const Entries &at, Problem &first) const
{
    const Folded folded(taken.path);
    const Bytes kept = folded.text().substr(0, folded.text().size() - KeptSuffix.size());
    const std::size_t hash = std::hash<Bytes>()(kept);
    auto name =
        std::lower_bound(m_names.begin(), m_names.end(), hash,
                         [](const Name &one, std::size_t other) { return one.hash < other; });
    for (; name != m_names.end() && name->hash == hash; ++name) {
        const ManifestEntry &file = at(name->place);
        if (file.kind == ManifestEntry::Kind::File && Folded(file.path).text() == kept) {
            first.note(taken.line,
                       QStringLiteral("\"%1\" takes the name reserved for the old \"%2\"")
                           .arg(Shown(taken.path), Shown(file.path)));
        }
    }
}

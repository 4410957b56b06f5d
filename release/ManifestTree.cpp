// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ManifestTree.h"

#include "release/ReleaseManifest.h"
#include "release/ReleasePaths.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>

namespace {

constexpr char Separator = '/';
constexpr std::size_t MostEntries = MostManifestPaths;
constexpr Bytes KeptSuffix = ".old"; // as it is folded

QString Text(Bytes bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

QString AtLine(int line, const QString &reason)
{
    return QStringLiteral("line %1: %2").arg(QString::number(line), reason);
}

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

/// FoldedPath() as UTF-8, quickly where there are plain letters only. For safe paths, which are
/// short.
class Folded {
public:
    explicit Folded(Bytes path)
    {
        if (!IsAscii(path) || path.size() > m_plain.size()) {
            m_other = FoldedPath(Text(path)).toStdString();
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
    std::array<char, LongestPath> m_plain; // NOLINT(*-member-init): as far as it is used
    std::string m_other;
    Bytes m_text;
};

/// Compares as if a separator stood behind both: the order in which folders are come by.
bool IsFolderBefore(Bytes one, Bytes other)
{
    const std::size_t common = std::min(one.size(), other.size());
    if (const int order = one.compare(0, common, other, 0, common); order != 0) {
        return order < 0;
    }
    const auto next = [common](Bytes path) {
        return static_cast<unsigned char>(path.size() > common ? path[common] : Separator);
    };
    return next(one) != next(other) ? next(one) < next(other) : one.size() < other.size();
}

/// The length up to which two texts are equal.
std::size_t CommonLength(Bytes one, Bytes other)
{
    const std::size_t length = std::min(one.size(), other.size());
    const auto [end, _] = std::mismatch(one.begin(), one.begin() + length, other.begin());
    return static_cast<std::size_t>(end - one.begin());
}

bool EndsWith(Bytes text, Bytes end)
{
    return text.size() > end.size() && text.substr(text.size() - end.size()) == end;
}

} // namespace

void ManifestTree::Problem::note(int atLine, const QString &text)
{
    if (line == 0 || atLine < line) {
        line = atLine;
        reason = AtLine(atLine, text);
    }
}

QString ManifestTree::add(Kind kind, Bytes path, int line, bool isEmpty)
{
    if (size() == MostEntries) {
        return AtLine(line, QStringLiteral("it lists more than %1 paths").arg(MostManifestPaths));
    }
    const Bytes last = m_entries.empty() ? Bytes() : m_entries.back().path;
    if (!m_entries.empty() && path <= last) {
        return AtLine(line, path == last ? QStringLiteral("\"%1\" is listed twice").arg(Text(path))
                                         : QStringLiteral("\"%1\" stands behind \"%2\", which is "
                                                          "not the order of their bytes")
                                               .arg(Text(path), Text(last)));
    }
    if (path.front() == 'u' || path.front() == 'U' ||
        static_cast<unsigned char>(path.front()) >= 0x80) {
        if (const QString reason = TakenNameReason(Text(path)); !reason.isEmpty()) {
            return AtLine(line, reason);
        }
    }
    if (QString reason = addFoldersAbove(path, line); !reason.isEmpty()) {
        return reason;
    }
    addName(path, m_entries.size());
    m_entries.push_back({path, line, kind, isEmpty});
    return {};
}

/// Adds the folders above \a path that were not come by yet: paths in the order of their bytes come
/// into each folder once.
QString ManifestTree::addFoldersAbove(Bytes path, int line)
{
    const Bytes last = m_entries.empty() ? Bytes() : m_entries.back().path;
    for (std::size_t end = path.find(Separator, CommonLength(path, last)); end != Bytes::npos;
         end = path.find(Separator, end + 1)) {
        if (QString reason = addFolderAbove(path.substr(0, end), path, line); !reason.isEmpty()) {
            return reason;
        }
    }
    return {};
}

QString ManifestTree::addFolderAbove(Bytes folder, Bytes path, int line)
{
    const Entry *const entry = find(folder);
    if (!entry) {
        if (m_above.size() == MostEntries) {
            return AtLine(line,
                          QStringLiteral("it has more than %1 folders").arg(MostManifestPaths));
        }
        addName(folder, MostEntries + m_above.size());
        m_above.push_back({folder, line, Kind::Folder, false});
        return {};
    }
    switch (entry->kind) {
    case Kind::File:
        return AtLine(line, QStringLiteral("\"%1\" is a file and the folder of \"%2\" at once")
                                .arg(Text(folder), Text(path)));
    case Kind::Link:
        return AtLine(
            line,
            QStringLiteral("\"%1\" goes through the link \"%2\"").arg(Text(path), Text(folder)));
    case Kind::Folder:
        break;
    }
    if (entry->isEmpty) {
        return AtLine(entry->line, QStringLiteral("folder \"%1\" has the usual mode and is not "
                                                  "empty, which needs no line")
                                       .arg(Text(folder)));
    }
    return {};
}

void ManifestTree::addName(Bytes path, std::size_t place)
{
    const Folded folded(path);
    if (EndsWith(folded.text(), KeptSuffix)) {
        m_likeKept.push_back(place);
    }
    m_names.push_back({folded.hash(), place});
}

const ManifestTree::Entry &ManifestTree::at(std::size_t place) const
{
    return place < MostEntries ? m_entries[place] : m_above[place - MostEntries];
}

QString ManifestTree::namesReason()
{
    std::sort(m_names.begin(), m_names.end(), [](const Name &one, const Name &other) {
        return one.hash != other.hash ? one.hash < other.hash : one.place < other.place;
    });
    Problem first;
    for (auto from = m_names.cbegin(); from != m_names.cend();) {
        const auto end = std::find_if(from, m_names.cend(),
                                      [from](const Name &name) { return name.hash != from->hash; });
        if (end - from > 1) {
            findSameNames(from, end, first);
        }
        from = end;
    }
    for (const std::size_t place : m_likeKept) {
        findKeptName(at(place), first);
    }
    return first.reason;
}

/// Looks which of some names are the same when they are folded: their hashes are.
void ManifestTree::findSameNames(Names from, Names end, Problem &first) const
{
    std::map<std::string, const Entry *> known;
    for (; from != end; ++from) {
        const Entry &entry = at(from->place);
        const auto [other, isNew] = known.emplace(Folded(entry.path).text(), &entry);
        if (!isNew) {
            const Entry &later = entry.line < other->second->line ? *other->second : entry;
            first.note(later.line, QStringLiteral("\"%1\" and \"%2\" differ in letter case or "
                                                  "Unicode normalisation only")
                                       .arg(Text(other->second->path), Text(entry.path)));
        }
    }
}

/// Looks whether what ends as a kept copy does takes the name of one.
void ManifestTree::findKeptName(const Entry &taken, Problem &first) const
{
    const Folded folded(taken.path);
    const Bytes kept = folded.text().substr(0, folded.text().size() - KeptSuffix.size());
    const std::size_t hash = std::hash<Bytes>()(kept);
    auto name =
        std::lower_bound(m_names.begin(), m_names.end(), hash,
                         [](const Name &one, std::size_t other) { return one.hash < other; });
    for (; name != m_names.end() && name->hash == hash; ++name) {
        const Entry &file = at(name->place);
        if (file.kind == Kind::File && Folded(file.path).text() == kept) {
            first.note(taken.line,
                       QStringLiteral("\"%1\" takes the name that is kept for the old \"%2\"")
                           .arg(Text(taken.path), Text(file.path)));
        }
    }
}

const ManifestTree::Entry *ManifestTree::find(Bytes path) const
{
    const auto entry =
        std::lower_bound(m_entries.begin(), m_entries.end(), path,
                         [](const Entry &one, Bytes other) { return one.path < other; });
    return entry != m_entries.end() && entry->path == path ? &*entry : nullptr;
}

bool ManifestTree::isFolderAbove(Bytes path) const
{
    const auto folder =
        std::lower_bound(m_above.begin(), m_above.end(), path, [](const Entry &one, Bytes other) {
            return IsFolderBefore(one.path, other);
        });
    return folder != m_above.end() && folder->path == path;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <QVector>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

namespace {

using Bytes = std::string_view; // a slice of the manifest, which stays where it is

/// Takes what stands before the first LF, or everything, off the front of \a rest.
Bytes TakeLine(Bytes &rest)
{
    const Bytes line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(qMin(line.size() + 1, rest.size()));
    return line;
}

/// Returns what stands before the first NUL, where texts end for Qt's conversions.
Bytes Text(Bytes field)
{
    return field.substr(0, field.find('\0'));
}

/// Reads hexadecimal digits, on purpose whatever they look like; what is no number reads as 0.
quint64 HexSize(Bytes field)
{
    const Bytes text = Text(field);
    quint64 size = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, size, 16);
    if (error == std::errc() && stop == end) {
        return size; // digits only, which is the rule
    }
    // White space behind makes it no number on purpose, though some Qt versions would pass it over.
    if (text.find_last_of(" \f\r\v") + 1 == text.size()) {
        return 0;
    }
    return QByteArray(text.data(), static_cast<int>(text.size())).toULongLong(nullptr, 16);
}

QString RelativePath(Bytes field)
{
    const Bytes text = Text(field);
    // Manifests are UTF-8 everywhere, so the locale of the moment must not decide.
    QString path = QString::fromUtf8(text.data(), static_cast<int>(text.size()));
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (path.startsWith(QLatin1Char('/'))) {
        path.remove(0, 1);
    }
    return path;
}

/// Splits \a line into the fields of \a record. Returns false when there are not exactly three.
bool ReadRecord(Bytes line, tagDownloadFileInfo &record)
{
    const auto firstTab = line.find('\t');
    const auto secondTab = firstTab == Bytes::npos ? firstTab : line.find('\t', firstTab + 1);
    if (secondTab == Bytes::npos || line.find('\t', secondTab + 1) != Bytes::npos) {
        return false;
    }
    const quint64 size = HexSize(line.substr(firstTab + 1, secondTab - firstTab - 1));
    record.path = RelativePath(line.substr(secondTab + 1));
    record.sizeHigh = static_cast<quint32>(size >> 32U);
    record.sizeLow = static_cast<quint32>(size);
    record.md5 = QByteArray(line.data(), static_cast<int>(firstTab));
    return true;
}

using Records = QMap<QString, tagDownloadFileInfo>;

/// Moves \a record into \a records, where \a place is a guess. Returns the entry.
Records::iterator Put(Records &records, Records::const_iterator place, tagDownloadFileInfo &record)
{
    const auto entry = records.insert(place, record.path, {});
    *entry = std::move(record);
    return entry;
}

} // namespace

QMap<QString, tagDownloadFileInfo> ParseMd5File(QByteArray content)
{
    Records result;
    QVector<tagDownloadFileInfo> unsorted;
    Bytes rest(content.constData(), static_cast<std::size_t>(content.size()));
    auto last = result.end();
    while (!rest.empty()) {
        Bytes line = TakeLine(rest);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        tagDownloadFileInfo record;
        if (!ReadRecord(line, record)) {
            continue;
        }
        // Manifests are mostly sorted: what comes in order is put at the end without a search.
        if (last == result.end() || last->path < record.path) {
            last = Put(result, result.constEnd(), record);
        } else {
            unsorted.append(std::move(record));
        }
    }
    // Sorting first is quicker than searching the place of each. The sort is stable, and a path
    // that the map has already came before: so the later line of a path wins, as it has to.
    std::stable_sort(unsorted.begin(), unsorted.end(),
                     [](const auto &one, const auto &other) { return one.path < other.path; });
    auto next = result.begin();
    for (tagDownloadFileInfo &record : unsorted) {
        next = Put(result, next, record);
        ++next;
    }
    return result;
}

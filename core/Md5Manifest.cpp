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

/// Removes the text before the first LF, or all of it, from the front of \a rest.
Bytes TakeLine(Bytes &rest)
{
    const Bytes line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(qMin(line.size() + 1, rest.size()));
    return line;
}

/// Returns the text before the first NUL, where Qt's conversions stop.
Bytes Text(Bytes field)
{
    return field.substr(0, field.find('\0'));
}

/// Reads a hexadecimal number in any form, on purpose; anything else reads as 0.
quint64 HexSize(Bytes field)
{
    const Bytes text = Text(field);
    quint64 size = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, size, 16);
    if (error == std::errc() && stop == end) {
        return size; // digits only, as usual
    }
    // Trailing white space makes it invalid on purpose, though some Qt versions would skip it.
    if (text.find_last_of(" \f\r\v") + 1 == text.size()) {
        return 0;
    }
    return QByteArray(text.data(), static_cast<int>(text.size())).toULongLong(nullptr, 16);
}

QString RelativePath(Bytes field)
{
    const Bytes text = Text(field);
    // Manifests are always UTF-8, so the current locale must not matter.
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

/// Moves \a record into \a records, with \a place as a hint. Returns the entry.
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
        // Manifests are mostly sorted: a record in order is appended without a search.
        if (last == result.end() || last->path < record.path) {
            last = Put(result, result.constEnd(), record);
        } else {
            unsorted.append(std::move(record));
        }
    }
    // Sorting first is faster than searching for each place. The sort is stable, and a path that is
    // already in the map came earlier: so the last line of a path wins, as it must.
    std::stable_sort(unsorted.begin(), unsorted.end(),
                     [](const auto &one, const auto &other) { return one.path < other.path; });
    auto next = result.begin();
    for (tagDownloadFileInfo &record : unsorted) {
        next = Put(result, next, record);
        ++next;
    }
    return result;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <cstddef>
#include <string_view>

namespace {

using Bytes = std::string_view; // a slice of the manifest, which stays where it is

/// Takes what stands before the first LF, or everything, off the front of \a rest.
Bytes TakeLine(Bytes &rest)
{
    const Bytes line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(qMin(line.size() + 1, rest.size()));
    return line;
}

/// Reads the fields of \a line into \a record. False when they are not exactly three.
bool ReadLine(Bytes line, tagDownloadFileInfo &record)
{
    const auto firstTab = line.find('\t');
    const auto secondTab = firstTab == Bytes::npos ? firstTab : line.find('\t', firstTab + 1);
    if (secondTab == Bytes::npos || line.find('\t', secondTab + 1) != Bytes::npos) {
        return false;
    }
    const auto bytes = [line](std::size_t from, std::size_t to) {
        return QByteArray(line.data() + from, static_cast<int>(to - from));
    };
    record.md5 = bytes(0, firstTab);

    // Hexadecimal on purpose, whatever the digits look like; no number reads as 0.
    const quint64 size = bytes(firstTab + 1, secondTab).toULongLong(nullptr, 16);
    record.sizeHigh = static_cast<quint32>(size >> 32U);
    record.sizeLow = static_cast<quint32>(size);

    Bytes path = line.substr(secondTab + 1);
    path = path.substr(0, path.find('\0'));
    // Manifests are UTF-8 everywhere, so the locale of the moment must not decide.
    record.path = QString::fromUtf8(path.data(), static_cast<int>(path.size()));
    record.path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (record.path.startsWith(QLatin1Char('/'))) {
        record.path.remove(0, 1);
    }
    return true;
}

} // namespace

QMap<QString, tagDownloadFileInfo> ParseMd5File(QByteArray content)
{
    QMap<QString, tagDownloadFileInfo> result;
    Bytes rest(content.constData(), static_cast<std::size_t>(content.size()));
    while (!rest.empty()) {
        Bytes line = TakeLine(rest);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        tagDownloadFileInfo record;
        if (ReadLine(line, record)) {
            // Manifests are mostly sorted, and at the end a sorted path needs no search.
            result.insert(result.constEnd(), record.path, record);
        }
    }
    return result;
}

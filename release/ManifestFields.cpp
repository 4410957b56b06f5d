// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ManifestFields.h"

#include "release/Formats.h"
#include "release/ReleasePaths.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr bool IsHexDigit(unsigned byte)
{
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'f');
}

/// What a byte means in a path.
enum class Meaning : unsigned char { Plain, Separator, Careful };

constexpr std::array<Meaning, 256> Meanings()
{
    std::array<Meaning, 256> meanings{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        const bool isPlain = byte >= 0x20 && byte < 0x7F && byte != '\\' && byte != '#' &&
                             byte != '?' && byte != '%';
        meanings[byte] = isPlain ? Meaning::Plain : Meaning::Careful;
    }
    meanings['/'] = Meaning::Separator;
    return meanings;
}

/// Whether a name of plain letters is certainly safe.
bool IsPlainName(Bytes name)
{
    // Short names that begin with '.' need the careful check.
    return !name.empty() && name.size() <= LongestName && (name.front() != '.' || name.size() > 2);
}

/// Whether the path is certainly safe. Nearly all are, and the careful check is slow.
bool IsPlainPath(Bytes path)
{
    static constexpr std::array<Meaning, 256> meanings = Meanings();
    if (path.size() > LongestPath) {
        return false;
    }
    std::size_t begin = 0;
    for (std::size_t at = 0; at < path.size(); ++at) {
        const Meaning meaning = meanings[static_cast<unsigned char>(path[at])];
        if (meaning == Meaning::Plain) {
            continue;
        }
        if (meaning == Meaning::Careful || !IsPlainName(path.substr(begin, at - begin))) {
            return false;
        }
        begin = at + 1;
    }
    return IsPlainName(path.substr(begin));
}

} // namespace

QString Shown(Bytes bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

QString AtLine(int line, const QString &reason)
{
    return QStringLiteral("line %1: %2").arg(QString::number(line), reason);
}

bool IsHex(Bytes field, std::size_t length)
{
    if (field.size() != length) {
        return false;
    }
    bool isHex = true;
    for (const char byte : field) { // no early exit: that would be slower
        isHex &= IsHexDigit(static_cast<unsigned char>(byte));
    }
    return isHex;
}

QString ReadSize(Bytes field, quint64 &size)
{
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), size, 16);
    const bool isWritten = !field.empty() && field.size() <= 16 && IsHex(field, field.size()) &&
                           (field.front() != '0' || field.size() == 1);
    if (!isWritten || error != std::errc() || end != field.data() + field.size()) {
        return QStringLiteral(
            "its size is not a lower-case hexadecimal number without leading zeros");
    }
    if (size >= static_cast<quint64>(TooLargeSize)) {
        return QStringLiteral("files %1 cannot be updated").arg(TooLargeText);
    }
    return {};
}

QString ReadNumber(Bytes field, int &number)
{
    const QByteArray text(field.data(), static_cast<int>(field.size()));
    bool isNumber = false;
    number = text.toInt(&isNumber);
    if (!isNumber || QByteArray::number(number) != text) {
        return QStringLiteral("\"%1\" is not a number").arg(Shown(field));
    }
    return {};
}

QString ReadMode(Bytes field, int &mode)
{
    const bool isOctal = field.size() == 4 && std::all_of(field.begin(), field.end(), [](char c) {
                             return c >= '0' && c <= '7';
                         });
    if (!isOctal) {
        return QStringLiteral("its mode is not four octal digits");
    }
    mode = 0;
    for (const char digit : field) {
        mode = mode * 8 + (digit - '0');
    }
    return {};
}

QString ReadText(Bytes field, QString &text)
{
    text = Shown(field);
    const QByteArray back = text.toUtf8();
    const bool isSame = Bytes(back.constData(), static_cast<std::size_t>(back.size())) == field;
    if (!isSame || text.contains(QChar(QChar::ReplacementCharacter))) {
        return QStringLiteral("\"%1\" does not survive UTF-8 unchanged").arg(text);
    }
    return {};
}

QString ReadPath(Bytes field, QString &path)
{
    if (IsPlainPath(field)) {
        path = QString::fromLatin1(field.data(), static_cast<int>(field.size()));
        return {};
    }
    const QString text = ReadText(field, path);
    const QString unsafe = UnsafePathReason(path);
    if (!unsafe.isEmpty()) {
        return QStringLiteral("path \"%1\": %2").arg(path, unsafe);
    }
    return text.isEmpty() ? text : QStringLiteral("path ") + text;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QtTest>

#include <cstring>

// A failed comparison prints its texts with these two functions. Qt's own escape every letter
// beyond ASCII; these replace them in each test program, because the linker searches it first.

namespace {

constexpr int LongestBytes = 440; // two texts and their names fit into what the toolkit prints

bool IsPlain(QChar character)
{
    return character.isPrint() && character != QLatin1Char('"') && character != QLatin1Char('\\');
}

QByteArray Escaped(QChar character)
{
    switch (character.unicode()) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    default:
        return "\\u" + QByteArray::number(character.unicode(), 16).rightJustified(4, '0').toUpper();
    }
}

/// One letter, which may take two characters, or an escape sequence. Moves \a i past it.
QByteArray Legible(QStringView text, int &i)
{
    const QChar character = text.at(i++);
    if (character.isHighSurrogate() && i < text.size() && text.at(i).isLowSurrogate()) {
        const QChar pair[] = {character, text.at(i++)};
        return QString(pair, 2).toUtf8();
    }
    return IsPlain(character) ? QString(character).toUtf8() : Escaped(character);
}

char *Copy(const QByteArray &text)
{
    auto *copy = new char[static_cast<std::size_t>(text.size()) + 1]; // the toolkit frees it
    std::memcpy(copy, text.constData(), static_cast<std::size_t>(text.size()) + 1);
    return copy;
}

/// The type of a length, which is not the same in every version of the toolkit.
template <typename Length>
Length LengthOf(char *(*)(const char *, Length));
using Length = decltype(LengthOf(&QTest::toPrettyCString));

} // namespace

char *QTest::toPrettyUnicode(QStringView string)
{
    QByteArray text = "\"";
    for (int i = 0; i < string.size();) {
        const QByteArray letter = Legible(string, i);
        if (text.size() + letter.size() > LongestBytes) {
            return Copy(text + "\"...");
        }
        text += letter;
    }
    return Copy(text + '"');
}

char *QTest::toPrettyCString(const char *unicode, Length length)
{
    const QByteArray bytes(unicode, length);
    const QString text = QString::fromUtf8(bytes);
    if (text.toUtf8() == bytes) {
        return toPrettyUnicode(text);
    }
    // Not UTF-8: byte by byte.
    QByteArray escaped = "\"";
    for (const char byte : bytes) {
        if (escaped.size() > LongestBytes) {
            return Copy(escaped + "\"...");
        }
        const auto value = static_cast<uchar>(byte);
        escaped += value < 0x80
                       ? QByteArray(IsPlain(QLatin1Char(byte)) ? QByteArray(1, byte)
                                                               : Escaped(QLatin1Char(byte)))
                       : "\\x" + QByteArray::number(value, 16).toUpper();
    }
    return Copy(escaped + '"');
}

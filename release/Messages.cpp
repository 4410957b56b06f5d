// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Messages.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int Failure = 1;
constexpr int BadUsage = 2;
constexpr int LongestLine = 2000;
constexpr QChar LineFeed = QLatin1Char('\n');

bool TurnsDirection(QChar character)
{
    const ushort code = character.unicode();
    return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) ||
           code == 0x200E || code == 0x200F || code == 0x061C;
}

bool IsHarmless(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return character == LineFeed;
    default:
        return !TurnsDirection(character);
    }
}

QString Shortened(const QString &line)
{
    if (line.size() <= LongestLine) {
        return line;
    }
    const int kept = line.at(LongestLine - 1).isHighSurrogate() ? LongestLine - 1 : LongestLine;
    return line.left(kept) + QStringLiteral("...");
}

bool Print(std::FILE *stream, const QString &text)
{
    const bool isPrinted = std::fprintf(stream, "%s\n", Printable(text).toUtf8().constData()) >= 0;
    return std::fflush(stream) == 0 && isPrinted;
}

void PrintLine(const QString &prefix, QString text)
{
    text.replace(LineFeed, QChar(QChar::ReplacementCharacter));
    (void)Print(stderr, prefix + text);
}

QString ProgramPrefix()
{
    return QCoreApplication::applicationName() + QStringLiteral(": ");
}

} // namespace

QString Printable(const QString &text)
{
    QStringList lines = text.split(LineFeed);
    for (QString &line : lines) {
        for (QChar &character : line) {
            if (!IsHarmless(character)) {
                character = QChar::ReplacementCharacter;
            }
        }
        line = Shortened(line);
    }
    return lines.join(LineFeed);
}

bool Say(const QString &text)
{
    return Print(stdout, text);
}

void Warn(const QString &text)
{
    PrintLine(ProgramPrefix() + QStringLiteral("warning: "), text);
}

int Refuse(const QStringList &problems)
{
    for (const QString &problem : problems) {
        PrintLine(ProgramPrefix(), problem);
    }
    return Failure;
}

int OutputFailure()
{
    return Refuse({QStringLiteral("Standard output cannot be written.")});
}

int Complain(const QString &text)
{
    (void)Print(stderr, ProgramPrefix() + text);
    return BadUsage;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Messages.h"

#include <cstdio>

namespace {

constexpr int Failure = 1;
constexpr int BadUsage = 2;

/// The text with what could change the look of the terminal made visible: names of files and
/// answers of servers are in it as they are. Line ends stay.
QString Visible(QString text)
{
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control && character != QLatin1Char('\n')) {
            character = QChar::ReplacementCharacter;
        }
    }
    return text;
}

void Print(std::FILE *stream, const QString &text)
{
    (void)std::fprintf(stream, "%s\n", Visible(text).toUtf8().constData());
    (void)std::fflush(stream);
}

void PrintLine(std::FILE *stream, QString text)
{
    Print(stream, text.replace(QLatin1Char('\n'), QChar::ReplacementCharacter));
}

} // namespace

void Say(const QString &text)
{
    Print(stdout, text);
}

void Warn(const QString &text)
{
    PrintLine(stderr, QStringLiteral("publish_update: warning: ") + text);
}

int Refuse(const QStringList &problems)
{
    for (const QString &problem : problems) {
        PrintLine(stderr, QStringLiteral("publish_update: ") + problem);
    }
    return Failure;
}

int Complain(const QString &text)
{
    Print(stderr, QStringLiteral("publish_update: ") + text);
    return BadUsage;
}

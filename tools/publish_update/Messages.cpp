// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tools/publish_update/Messages.h"

#include <cstdio>

namespace {

constexpr int Failure = 1;
constexpr int BadUsage = 2;

void Print(std::FILE *stream, const QString &text)
{
    (void)std::fprintf(stream, "%s\n", text.toUtf8().constData());
    (void)std::fflush(stream);
}

} // namespace

void Say(const QString &text)
{
    Print(stdout, text);
}

void Warn(const QString &text)
{
    Print(stderr, QStringLiteral("publish_update: warning: ") + text);
}

int Refuse(const QStringList &problems)
{
    for (const QString &problem : problems) {
        Print(stderr, QStringLiteral("publish_update: ") + problem);
    }
    return Failure;
}

int Complain(const QString &text)
{
    Print(stderr, QStringLiteral("publish_update: ") + text);
    return BadUsage;
}

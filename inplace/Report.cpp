// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Report.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>

void SayProgress(const QString &text)
{
    (void)std::fprintf(stderr, "%s\n", text.toUtf8().constData());
    (void)std::fflush(stderr);
}

int Report(const Outcome &outcome, bool console)
{
    SayProgress(outcome.message);
    if (console) {
        const QJsonObject report{{QStringLiteral("success"), outcome.success},
                                 {QStringLiteral("update"), outcome.update},
                                 {QStringLiteral("errormsg"), outcome.message}};
        (void)std::fputs(QJsonDocument(report).toJson(QJsonDocument::Compact).constData(), stdout);
        (void)std::fputs("\n", stdout);
        (void)std::fflush(stdout);
    }
    return outcome.success ? EXIT_SUCCESS : EXIT_FAILURE;
}

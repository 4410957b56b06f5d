// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Report.h"

#include "release/Messages.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>

namespace {

QJsonObject ReportOf(const Outcome &outcome)
{
    QJsonObject report{
        {QStringLiteral("success"), outcome.isSuccess()},
        {QStringLiteral("update"), outcome.update},
        {QStringLiteral("errormsg"), Printable(outcome.message)},
        {QStringLiteral("code"), QString::fromLatin1(InfoOf(outcome.end).code)},
    };
    if (outcome.version != 0) {
        report.insert(QStringLiteral("version"), Printable(outcome.versionString));
    }
    if (outcome.files >= 0) {
        report.insert(QStringLiteral("files"), outcome.files);
        report.insert(QStringLiteral("bytes"), outcome.bytes);
    }
    if (outcome.end == End::Available) {
        report.insert(QStringLiteral("forced"), outcome.forced);
    }
    return report;
}

} // namespace

void SayProgress(const QString &text)
{
    (void)Refuse({text});
}

int Report(const Outcome &outcome, bool console)
{
    SayProgress(outcome.message);
    if (console) {
        (void)std::fputs(
            QJsonDocument(ReportOf(outcome)).toJson(QJsonDocument::Compact).constData(), stdout);
        (void)std::fputs("\n", stdout);
        (void)std::fflush(stdout);
    }
    return outcome.isSuccess() ? EXIT_SUCCESS : EXIT_FAILURE;
}

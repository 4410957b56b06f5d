// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/FailingCalls.h"

#include "tests/support/TestFiles.h"

#include <algorithm>
#include <utility>

FailingCalls::FailingCalls(QString folder, const QStringList &kinds)
    : m_folder(std::move(folder)), m_kinds(kinds.join(QLatin1Char(',')))
{
}

QStringList FailingCalls::wrapper(int number, int error, bool isOnwards)
{
    WriteFile(m_notes.filePath(QStringLiteral("count")), QByteArray(sizeof(long), '\0'));
    WriteFile(m_notes.filePath(QStringLiteral("log")), {});
    const auto variable = [](const char *name, const QString &value) {
        return QString::fromLatin1(name) + QLatin1Char('=') + value;
    };
    // The address sanitizer wants to be loaded first, but does not need it.
    const QString asan = qEnvironmentVariable("ASAN_OPTIONS");
    return {QStringLiteral("env"),
            variable("ASAN_OPTIONS", asan + QStringLiteral(":verify_asan_link_order=0")),
            variable("LD_PRELOAD", QStringLiteral(FAILING_CALLS_LIBRARY)),
            variable("FAILING_CALLS_FOLDER", m_notes.path()),
            variable("FAILING_CALLS_UNDER", m_folder),
            variable("FAILING_CALLS_KINDS", m_kinds),
            variable("FAILING_CALLS_NUMBER", QString::number(number)),
            variable("FAILING_CALLS_ERRNO", QString::number(error)),
            variable("FAILING_CALLS_ONWARDS", isOnwards ? QStringLiteral("1") : QString())};
}

QStringList FailingCalls::calls() const
{
    const QString log = QString::fromUtf8(ReadFile(m_notes.filePath(QStringLiteral("log"))));
    return log.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool FailingCalls::hasFailed() const
{
    const QStringList seen = calls();
    return std::any_of(seen.begin(), seen.end(), [](const QString &call) {
        return call.startsWith(QLatin1String("FAILED "));
    });
}

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

/// The options of a sanitizer, as a variable for a program with the library.
static QString SanitizerOptions(const char *name)
{
    // It would make the folder of its reports too early for the library to take a call.
    QStringList options = qEnvironmentVariable(name).split(QLatin1Char(':'));
    options.erase(std::remove_if(options.begin(), options.end(),
                                 [](const QString &option) {
                                     return option.startsWith(QStringLiteral("log_path="));
                                 }),
                  options.end());
    return QString::fromLatin1(name) + QLatin1Char('=') + options.join(QLatin1Char(':'));
}

QStringList FailingCalls::wrapper(int number, int error, bool isOnwards)
{
    WriteFile(m_notes.filePath(QStringLiteral("count")), QByteArray(sizeof(long), '\0'));
    WriteFile(m_notes.filePath(QStringLiteral("log")), {});
    const auto variable = [](const char *name, const QString &value) {
        return QString::fromLatin1(name) + QLatin1Char('=') + value;
    };
    return {QStringLiteral("env"),
            SanitizerOptions("ASAN_OPTIONS"),
            SanitizerOptions("UBSAN_OPTIONS"),
            variable("LD_PRELOAD", QStringLiteral(FAILING_CALLS_LIBRARY " ") + m_library),
            variable("FAILING_CALLS_FOLDER", m_notes.path()),
            variable("FAILING_CALLS_UNDER", m_folder),
            variable("FAILING_CALLS_KINDS", m_kinds),
            variable("FAILING_CALLS_NUMBER", QString::number(number)),
            variable("FAILING_CALLS_ERRNO", QString::number(error)),
            variable("FAILING_CALLS_ONWARDS", isOnwards ? QStringLiteral("1") : QString())};
}

/// Each is a call, a tab and the way to it.
QStringList FailingCalls::lines() const
{
    const QString log = QString::fromUtf8(ReadFile(m_notes.filePath(QStringLiteral("log"))));
    return log.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList FailingCalls::calls() const
{
    QStringList calls = lines();
    for (QString &call : calls) {
        call = call.section(QLatin1Char('\t'), 0, 0);
    }
    return calls;
}

QVector<QPair<int, QString>> FailingCalls::onNewWays(QSet<QString> &seen) const
{
    QVector<QPair<int, QString>> found;
    int number = 0;
    const QStringList all = lines();
    for (const QString &line : all) {
        ++number;
        const QString kind = line.section(QLatin1Char(' '), 0, 0);
        const QString way = kind + line.section(QLatin1Char('\t'), 1);
        if (!seen.contains(way)) {
            seen.insert(way);
            found.append({number, kind});
        }
    }
    return found;
}

bool FailingCalls::hasFailed() const
{
    const QStringList seen = calls();
    return std::any_of(seen.begin(), seen.end(), [](const QString &call) {
        return call.startsWith(QLatin1String("FAILED "));
    });
}

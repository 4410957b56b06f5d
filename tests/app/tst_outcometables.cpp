// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/SessionOutcome.h"
#include "tests/support/TestFiles.h"

#include <QRegularExpression>
#include <QtTest>

namespace {

/// The columns in which a page describes an outcome, and their wording.
struct Page {
    const char *path;
    const char *heading;
    const char *windowedOnly;
    const char *twoMarkers; ///< %1 in console mode, %2 in windows
    int host;               ///< the columns, from the left, from 0 on
    int marker;
    int exitCode;
    int window; ///< -1: the page has no such column
};

constexpr Page Readme{"README.md", "## Outcomes", "windowed", "%1 (windowed %2)", 4, 5, 6, 3};
constexpr Page Formats{"docs/formats.md",
                       "## Outcomes, exit codes and markers",
                       "windowed only",
                       "console %1, windowed %2",
                       2,
                       4,
                       5,
                       -1};

/// The rows of the first table behind the page's heading, without the two of its head.
QList<QStringList> Rows(const Page &page)
{
    const QString path = QStringLiteral(PROJECT_FOLDER) + QLatin1Char('/') + page.path;
    const QStringList lines = QString::fromUtf8(ReadFile(path)).split(QLatin1Char('\n'));
    QList<QStringList> rows;
    for (int i = lines.indexOf(QLatin1String(page.heading)) + 1; i > 0 && i < lines.size(); ++i) {
        if (lines.at(i).startsWith(QLatin1Char('|'))) {
            QStringList cells = lines.at(i).split(QLatin1Char('|')).mid(1);
            for (QString &cell : cells) {
                cell = cell.trimmed();
            }
            rows << cells;
        } else if (!rows.isEmpty()) {
            break;
        }
    }
    return rows.mid(2);
}

QString Number(const char *marker)
{
    static const QRegularExpression pattern(QStringLiteral("关闭([0-9]+)-"));
    return pattern.match(QString::fromUtf8(marker)).captured(1);
}

/// An outcome that is listed twice, once per mode, has a row for each: the one for console mode
/// never starts the host, the one for windows offers a retry.
bool IsWindowedAlone(const SessionOutcomeInfo &info)
{
    return info.retry;
}

QString Host(const Page &page, const SessionOutcomeInfo &info)
{
    if (info.hostStart == HostStart::WindowedOnly && !IsWindowedAlone(info)) {
        return QLatin1String(page.windowedOnly);
    }
    return QLatin1String(info.hostStart == HostStart::Never ? "no" : "yes");
}

QString Markers(const Page &page, const SessionOutcomeInfo &info)
{
    const QString console = Number(info.consoleMarker);
    const QString windowed = Number(info.windowedMarker);
    return console == windowed ? console : QString(page.twoMarkers).arg(console, windowed);
}

bool WindowFits(const QString &window, const SessionOutcomeInfo &info)
{
    if (info.retry) {
        return window == QLatin1String("error with retry");
    }
    const bool error = info.title != nullptr && info.hostStart != HostStart::Never;
    return error == (window == QLatin1String("error"));
}

} // namespace

Q_DECLARE_METATYPE(Page)

/// What the pages say about the outcomes matches the code.
class tst_OutcomeTables : public QObject {
    Q_OBJECT

private slots:
    void table_ofAPage_isTheCodes_data();
    void table_ofAPage_isTheCodes();
};

void tst_OutcomeTables::table_ofAPage_isTheCodes_data()
{
    QTest::addColumn<Page>("page");
    QTest::newRow(Readme.path) << Readme;
    QTest::newRow(Formats.path) << Formats;
}

void tst_OutcomeTables::table_ofAPage_isTheCodes()
{
    QFETCH(Page, page);
    const QList<QStringList> rows = Rows(page);
    QCOMPARE(rows.size(), static_cast<int>(SessionOutcome::Count));
    for (int i = 0; i < rows.size(); ++i) {
        const SessionOutcomeInfo &info = InfoOf(static_cast<SessionOutcome>(i));
        const QStringList &row = rows.at(i);
        const QByteArray where = row.join(QStringLiteral(" | ")).toUtf8();
        QVERIFY2(row.value(page.host) == Host(page, info), where.constData());
        QVERIFY2(row.value(page.marker) == Markers(page, info), where.constData());
        QVERIFY2(row.value(page.exitCode) == QString::number(info.exitCode), where.constData());
        QVERIFY2(page.window < 0 || WindowFits(row.value(page.window), info), where.constData());
    }
}

QTEST_APPLESS_MAIN(tst_OutcomeTables)
#include "tst_outcometables.moc"

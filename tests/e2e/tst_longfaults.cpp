// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/e2e/MeasuredSession.h"

#include <QtTest>

namespace {

constexpr int DeadlineMs = 120000;
constexpr int Size = 200 * 1000 * 1000;
const QByteArray Description = R"({"Version":3000000,"VersionString":"3.0.0"})";

} // namespace

/// Faults that take a session much memory.
class tst_LongFaults : public QObject {
    Q_OBJECT

private slots:
    void gzip_of200MB_isUnpackedInMemory_data();
    void gzip_of200MB_isUnpackedInMemory();
};

void tst_LongFaults::gzip_of200MB_isUnpackedInMemory_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<double>("allowedMebibytes");
    QTest::newRow("of blanks and a description") << Description << 2000.0;
    QTest::newRow("of blanks") << QByteArray() << 4000.0;
}

void tst_LongFaults::gzip_of200MB_isUnpackedInMemory()
{
    QFETCH(QByteArray, content);
    QFETCH(double, allowedMebibytes);
    const QByteArray body = QByteArray(Size - content.size(), ' ') + content;
    const FaultyAnswer answer = GzipAnswer(body);
    const ScriptedServer server(
        [&](ScriptedConnection &connection, const QByteArray &) { Give(answer, connection); },
        UPDATER_PORT);
    MeasuredSession session(QStringLiteral(UPDATER));
    const SessionEnd end = session.end(DeadlineMs);
    session.report(QStringLiteral("%1 bytes of gzip that hold 200 MB %2")
                       .arg(QString::number(answer.bytes.size()),
                            QString::fromLatin1(QTest::currentDataTag())));
    if (content.isEmpty()) {
        QVERIFY(end.text() == Arrived(body).text());
    } else {
        QCOMPARE(end.text(), Arrived(MeasuredDescription()).text());
    }
    QCOMPARE(session.leftFiles(), QStringList());
    QVERIFY(!PeakMemory::isComparable() || session.peakMebibytes() < allowedMebibytes);
}

QTEST_GUILESS_MAIN(tst_LongFaults)
#include "tst_longfaults.moc"

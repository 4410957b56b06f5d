// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/StopSignals.h"

#include <QtTest>

#include <csignal>

/// Signals that stop an update.
class tst_StopSignals : public QObject {
    Q_OBJECT

private slots:
    static void signal_meanwhile_isARequest_data();
    static void signal_meanwhile_isARequest();
    static void signal_ignoredBefore_staysIgnored();
};

void tst_StopSignals::signal_meanwhile_isARequest_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_StopSignals::signal_meanwhile_isARequest()
{
    QFETCH(int, signal);
    (void)std::signal(signal, SIG_DFL); // a shell's background job ignores SIGINT
    {
        StopSignals stop;
        QVERIFY(!StopSignals::isWanted());
        stop.watch();
        const QSignalSpy wanted(&stop, &StopSignals::wanted);
        QCOMPARE(std::raise(signal), 0);
        QVERIFY(StopSignals::isWanted());
        QTRY_COMPARE(wanted.size(), 1);
    }
    QCOMPARE(std::raise(signal), 0); // the program ends by itself, with its own result
    const StopSignals next;
    QVERIFY(!StopSignals::isWanted());
}

void tst_StopSignals::signal_ignoredBefore_staysIgnored()
{
    (void)std::signal(SIGHUP, SIG_IGN);
    const StopSignals stop;
    QCOMPARE(std::raise(SIGHUP), 0);
    QVERIFY(!StopSignals::isWanted());
    (void)std::signal(SIGHUP, SIG_DFL);
}

QTEST_GUILESS_MAIN(tst_StopSignals)
#include "tst_stopsignals.moc"

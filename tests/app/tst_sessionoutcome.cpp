// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/SessionOutcome.h"

#include <QtTest>

Q_DECLARE_METATYPE(SessionOutcome)
Q_DECLARE_METATYPE(HostStart)

class tst_SessionOutcome : public QObject {
    Q_OBJECT

private slots:
    void outcomes_number_isThatOfTheRowsHere();
    void infoOf_everyOutcome_isItsRow_data();
    void infoOf_everyOutcome_isItsRow();
};

// A new outcome needs a row in this file, too.
void tst_SessionOutcome::outcomes_number_isThatOfTheRowsHere()
{
    QCOMPARE(static_cast<int>(SessionOutcome::Count), 11);
}

void tst_SessionOutcome::infoOf_everyOutcome_isItsRow_data()
{
    QTest::addColumn<SessionOutcome>("outcome");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("retry");
    QTest::addColumn<HostStart>("hostStart");
    QTest::addColumn<QString>("consoleNumber");
    QTest::addColumn<QString>("windowedNumber");
    QTest::addColumn<int>("exitCode");

    using O = SessionOutcome;
    using H = HostStart;
    const QString none;
    const auto row = [](const char *name, O outcome, const char *title, const char *message,
                        bool retry, H host, const char *console, const char *windowed, int code) {
        QTest::newRow(name) << outcome << QString::fromUtf8(title) << QString::fromUtf8(message)
                            << retry << host << QString::fromUtf8(console)
                            << QString::fromUtf8(windowed) << code;
    };
    const char *const fetch = "下载升级描述文件失败:%1";
    const char *const content = "升级描述文件内容不合法:%1";
    row("1", O::Restarted, "", "", false, H::Always, "13", "13", 1);
    row("2", O::AlreadyRunning, "启动", "升级程序已运行", false, H::WindowedOnly, "12", "12", 1);
    row("3", O::BaseUrlNotValid, "配置错误", "升级地址不合法:%1", false, H::WindowedOnly, "000001",
        "000001", 1);
    row("4", O::DescriptionUrlNotValid, "配置错误", "升级描述文件地址不合法:%1", false,
        H::WindowedOnly, "0001", "3", 1);
    row("5", O::FetchFailed, "更新失败", fetch, false, H::Never, "001", "001", 0);
    row("6", O::FetchGivenUp, "更新失败", fetch, true, H::WindowedOnly, "3", "3", 1);
    row("7", O::ContentNotValid, "更新失败", content, false, H::Never, "01", "01", 0);
    row("8", O::ContentGivenUp, "更新失败", content, true, H::WindowedOnly, "3", "3", 1);
    row("9", O::NoUpdateNeeded, "", "", false, H::WindowedOnly, "3", "3", 1);
    row("10", O::NoticeAccepted, "", "", false, H::Never, "1", "1", 0);
    row("11", O::NoticeDeclined, "", "", false, H::Never, "1", "1", 0);
}

void tst_SessionOutcome::infoOf_everyOutcome_isItsRow()
{
    QFETCH(SessionOutcome, outcome);
    QFETCH(QString, title);
    QFETCH(QString, message);
    QFETCH(bool, retry);
    QFETCH(HostStart, hostStart);
    QFETCH(QString, consoleNumber);
    QFETCH(QString, windowedNumber);
    QFETCH(int, exitCode);

    const auto marker = [](const QString &number) {
        return QStringLiteral("----------------更新程序关闭%1------------------").arg(number);
    };
    const SessionOutcomeInfo &info = InfoOf(outcome);
    QCOMPARE(info.outcome, outcome);
    QCOMPARE(QString::fromUtf8(info.title), title);
    QCOMPARE(QString::fromUtf8(info.message), message);
    QCOMPARE(info.retry, retry);
    QCOMPARE(info.hostStart, hostStart);
    QCOMPARE(QString::fromUtf8(info.consoleMarker), marker(consoleNumber));
    QCOMPARE(QString::fromUtf8(info.windowedMarker), marker(windowedNumber));
    QCOMPARE(info.exitCode, exitCode);
}

QTEST_APPLESS_MAIN(tst_SessionOutcome)
#include "tst_sessionoutcome.moc"

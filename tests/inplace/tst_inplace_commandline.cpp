// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/CommandLine.h"

#include <QtTest>

class tst_InplaceCommandLine : public QObject {
    Q_OBJECT

private slots:
    static void readUpdateCommand_badUsage_isComplainedAbout_data();
    static void readUpdateCommand_badUsage_isComplainedAbout();
    static void readUpdateCommand_badUsage_isNamed_data();
    static void readUpdateCommand_badUsage_isNamed();
    static void readUpdateCommand_goodUsage_isRead_data();
    static void readUpdateCommand_goodUsage_isRead();
    static void readUpdateCommand_help_wins();
};

namespace {

const QStringList Good{QStringLiteral("--base-url"), QStringLiteral("https://x.example/mac"),
                       QStringLiteral("--install"),  QStringLiteral("/i"),
                       QStringLiteral("--staging"),  QStringLiteral("/s")};

UpdateCommand Read(const QStringList &arguments)
{
    return ReadUpdateCommand(QStringList(QStringLiteral("inplace_update")) + arguments);
}

} // namespace

void tst_InplaceCommandLine::readUpdateCommand_badUsage_isComplainedAbout_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("no base URL") << QStringList(Good.mid(2));
    QTest::newRow("no installation") << QStringList(Good.mid(0, 2) + Good.mid(4));
    QTest::newRow("no staging") << QStringList(Good.mid(0, 4));
    QTest::newRow("empty installation")
        << QStringList(Good.mid(0, 3) + QStringList(QString()) + Good.mid(4));
    QTest::newRow("no value") << QStringList(Good.mid(0, 5));
    QTest::newRow("unknown option") << QStringList(Good) + QStringList(QStringLiteral("--quiet"));
    QTest::newRow("an argument too many")
        << QStringList(Good) + QStringList(QStringLiteral("more"));
    for (const char *url : {"x.example/mac", "ftp://x.example/", "https://", "https:///mac",
                            "https://x.example/?a=b", "https://x.example/#a"}) {
        QTest::newRow(url) << QStringList(QStringList({Good.at(0), QLatin1String(url)}) +
                                          Good.mid(2));
    }
}

void tst_InplaceCommandLine::readUpdateCommand_badUsage_isComplainedAbout()
{
    QFETCH(QStringList, arguments);
    const UpdateCommand command = Read(arguments);
    QCOMPARE(command.action, UpdateCommand::Action::Complain);
    QVERIFY(command.text.contains(QStringLiteral("--help")));
}

void tst_InplaceCommandLine::readUpdateCommand_badUsage_isNamed_data()
{
    QTest::addColumn<QStringList>("more");
    QTest::addColumn<QString>("reason");
    QTest::newRow("two tasks") << QStringList{QStringLiteral("--undo"), QStringLiteral("--check")}
                               << "--check and --undo exclude each other.";
    QTest::newRow("empty manifest")
        << QStringList{QStringLiteral("--manifest"), QString()} << "--manifest is empty.";
    QTest::newRow("empty application")
        << QStringList{QStringLiteral("--application"), QString()} << "--application is empty.";
    QTest::newRow("empty program")
        << QStringList{QStringLiteral("--start"), QString()} << "--start is empty.";
    for (const char *seconds : {"0", "86401", "-1", "1.5", "soon", ""}) {
        QTest::newRow(qPrintable(QStringLiteral("stalled for '%1'").arg(QLatin1String(seconds))))
            << QStringList{QStringLiteral("--stall"), QLatin1String(seconds)}
            << "--stall: a number of seconds from 1 to 86400 is expected.";
    }
}

void tst_InplaceCommandLine::readUpdateCommand_badUsage_isNamed()
{
    QFETCH(QStringList, more);
    QFETCH(QString, reason);
    const UpdateCommand command = Read(Good + more);
    QCOMPARE(command.action, UpdateCommand::Action::Complain);
    QVERIFY2(command.text.contains(reason), qPrintable(command.text));
}

void tst_InplaceCommandLine::readUpdateCommand_goodUsage_isRead_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("console");
    QTest::newRow("windows") << "https://x.example/mac" << false;
    QTest::newRow("console") << "https://x.example/mac" << true;
    QTest::newRow("separators at the end") << "https://x.example/mac//" << false;
    QTest::newRow("capitals in the scheme") << "HTTPS://x.example/mac" << false;
    QTest::newRow("http") << "http://127.0.0.1:80/mac" << false;
}

void tst_InplaceCommandLine::readUpdateCommand_goodUsage_isRead()
{
    QFETCH(QString, url);
    QFETCH(bool, console);
    QStringList arguments = QStringList({Good.at(0), url}) + Good.mid(2);
    if (console) {
        arguments.prepend(QStringLiteral("--console"));
    }
    const UpdateCommand command = Read(arguments);
    QCOMPARE(command.action, UpdateCommand::Action::Update);
    QVERIFY(command.options.baseUrl.endsWith(QStringLiteral("/mac")));
    QVERIFY(url.startsWith(command.options.baseUrl));
    QCOMPARE(command.options.install, QStringLiteral("/i"));
    QCOMPARE(command.options.staging, QStringLiteral("/s"));
    QCOMPARE(command.options.console, console);
}

void tst_InplaceCommandLine::readUpdateCommand_help_wins()
{
    const UpdateCommand command = Read({QStringLiteral("--help"), QStringLiteral("more")});
    QCOMPARE(command.action, UpdateCommand::Action::Help);
}

QTEST_GUILESS_MAIN(tst_InplaceCommandLine)
#include "tst_inplace_commandline.moc"

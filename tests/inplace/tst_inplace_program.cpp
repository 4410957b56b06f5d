// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "tests/inplace/InplaceStage.h"

#include <QtTest>

#include <atomic>
#include <csignal>

namespace {

const QString Changed = QStringLiteral("/1.1.0/d/changed");

/// The tests may have been started with the signal ignored.
const QStringList Attentive{QStringLiteral("env"), QStringLiteral("--default-signal=INT,HUP")};

} // namespace

/// The program itself: its output, its exit code, and servers that misbehave.
class tst_InplaceProgram : public QObject {
    Q_OBJECT

private slots:
    void init();
    void report_andProgress();
    void progress_withinAFile();
    void failure_namesAddressAndStatus_data();
    void failure_namesAddressAndStatus();
    void answer_brokenOff_isAFailureOfTheNetwork();
    void usage_helpAndVersion();
    void display_none_isToldOf();
    void start_whateverComesOfIt_data();
    void start_whateverComesOfIt();
    void server_stalls_isGivenUp();
    void server_sendsMore_isGivenUp_data();
    void server_sendsMore_isGivenUp();
    void server_textOfItsOwn_isMadeHarmless();
    void signal_stops_data();
    void signal_stops();
    void limit_ofFileSize_isAFailure();
    void locale_doesNotMatter();
    void streams_closed_theUpdateGoesOn_data();
    void streams_closed_theUpdateGoesOn();

private:
    QString folderCode(const InplaceProgram &program) const { return program.code(); }
    std::unique_ptr<InplaceStage> m_stage;
};

void tst_InplaceProgram::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
    m_stage->lay(InplaceStage::oldRelease());
    m_stage->publish(InplaceStage::newRelease());
}

void tst_InplaceProgram::report_andProgress()
{
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->program().output(),
             QByteArray(R"({"bytes":57,"code":"updated","errormsg":"更新成功","files":5,)"
                        R"("success":true,"update":true,"version":"1.1.0"})"
                        "\n"));
    QCOMPARE(m_stage->program().errors(),
             QByteArray("inplace_update: [1/5] d/changed 0/57 bytes 0%\n"
                        "inplace_update: [2/5] d/program 28/57 bytes 49%\n"
                        "inplace_update: [3/5] empty/not any more 47/57 bytes 82%\n"
                        "inplace_update: [4/5] new/deep/added 47/57 bytes 82%\n"
                        "inplace_update: [5/5] z 52/57 bytes 91%\n"
                        "inplace_update: 更新成功\n"));
}

/// A line each second, while a file comes.
void tst_InplaceProgram::progress_withinAFile()
{
    const FileMap files = InplaceStage::newRelease().published();
    m_stage->serve([&files](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) != Changed) {
            ServeFiles(files)(connection, request);
            return;
        }
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 28\r\n\r\nnew ");
        connection.pause(1200);
        connection.send("content, ");
        connection.pause(200);
        connection.send("which is longer");
    });
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    const QByteArray lines = m_stage->program().errors();
    QVERIFY2(lines.startsWith("inplace_update: [1/5] d/changed 0/57 bytes 0%\n"
                              "inplace_update: [1/5] d/changed 13/57 bytes 22%\n"
                              "inplace_update: [2/5] d/program 28/57 bytes 49%\n"),
             lines.constData());
}

void tst_InplaceProgram::failure_namesAddressAndStatus_data()
{
    QTest::addColumn<QString>("missing");
    QTest::newRow("update.json") << QStringLiteral("/update.json");
    QTest::newRow("manifest") << QStringLiteral("/1.1.0/update_md5.info");
    QTest::newRow("file") << Changed;
}

void tst_InplaceProgram::failure_namesAddressAndStatus()
{
    QFETCH(QString, missing);
    FileMap files = InplaceStage::newRelease().published();
    files.remove(missing.mid(1));
    m_stage->serve(ServeFiles(files));
    const Tree before = m_stage->installed();
    QCOMPARE(m_stage->run(), QStringLiteral("network"));
    const QString message =
        m_stage->program().report().value(QStringLiteral("errormsg")).toString();
    QVERIFY2(message.contains(m_stage->url() + missing) && message.contains(QLatin1String("404")),
             qPrintable(message));
    QCOMPARE(Differences(m_stage->installed(), before), QString());
}

void tst_InplaceProgram::answer_brokenOff_isAFailureOfTheNetwork()
{
    const FileMap files = InplaceStage::newRelease().published();
    m_stage->serve([&files](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) == Changed) {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 28\r\n\r\nnew");
            connection.close();
            return;
        }
        ServeFiles(files)(connection, request);
    });
    QCOMPARE(m_stage->run(), QStringLiteral("network"));
    QVERIFY(m_stage->program().errors().contains(Changed.toUtf8()));
}

void tst_InplaceProgram::usage_helpAndVersion()
{
    InplaceProgram help({QStringLiteral("--help")});
    QCOMPARE(help.run(), 0);
    QVERIFY(help.output().contains("--staging <DIR>") && help.errors().isEmpty());
    InplaceProgram version({QStringLiteral("--version")});
    QCOMPARE(version.run(), 0);
    QVERIFY(QRegularExpression(QStringLiteral("\\Ainplace_update \\d+\\.\\d+\\.\\d+\n\\z"))
                .match(QString::fromUtf8(version.output()))
                .hasMatch());
    for (const char *option : {"--help", "--version"}) {
        InplaceProgram full({QLatin1String(option)});
        full.prefix({QStringLiteral("sh"), QStringLiteral("-c"),
                     QStringLiteral(R"(exec "$0" "$@" > /dev/full)")});
        QCOMPARE(full.run(), 1);
        QCOMPARE(full.errors(), QByteArray("inplace_update: Standard output cannot be written.\n"));
    }
    InplaceProgram bad(m_stage->arguments({QStringLiteral("--public-key"), QStringLiteral("no")}));
    QCOMPARE(bad.run(), 2);
    QVERIFY(bad.output().isEmpty() && bad.errors().startsWith("inplace_update: "));
    QCOMPARE(m_stage->requested(), QStringList());
}

void tst_InplaceProgram::display_none_isToldOf()
{
    const QString started = m_stage->temporary.filePath(QStringLiteral("started"));
    const QString host = m_stage->temporary.filePath(QStringLiteral("host"));
    WriteFile(host, "#!/bin/sh\necho \"$2\" >'" + started.toUtf8() + "'\n");
    QVERIFY(QFile::setPermissions(host, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QStringList arguments = m_stage->arguments({QStringLiteral("--start"), host});
    arguments.removeAll(QStringLiteral("--console"));
    InplaceProgram program(arguments);
    program.set(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    program.set(QStringLiteral("DISPLAY"), QStringLiteral(":987"));
    QCOMPARE(program.run(), 1);
    QVERIFY2(program.errors().contains("没有可用的显示器"), program.errors().constData());
    QTRY_COMPARE(ReadFile(started), QByteArray("no_check\n"));
}

void tst_InplaceProgram::start_whateverComesOfIt_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("code");
    QTest::newRow("an update") << "update"
                               << "updated";
    QTest::newRow("a failure") << "failure"
                               << "network";
    QTest::newRow("a refusal") << "refusal"
                               << "folders";
}

void tst_InplaceProgram::start_whateverComesOfIt()
{
    QFETCH(QString, what);
    QFETCH(QString, code);
    const QByteArray script =
        "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" >\"$0.part\"; mv \"$0.part\" \"$0.seen\"\n";
    for (const QString &folder : {m_stage->install, m_stage->temporary.path()}) {
        WriteFile(folder + QStringLiteral("/host"), script);
        QVERIFY(QFile::setPermissions(folder + QStringLiteral("/host"),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }
    if (what == QLatin1String("failure")) {
        m_stage->stopServing();
    }
    QString host = QStringLiteral("host");
    if (what == QLatin1String("refusal")) {
        m_stage->staging = m_stage->install;
        host = m_stage->temporary.filePath(QStringLiteral("host"));
    }
    QCOMPARE(m_stage->run({QStringLiteral("--start"), host}), code);
    QTRY_COMPARE(ReadFile(QDir(m_stage->install).absoluteFilePath(host) + QStringLiteral(".seen")),
                 QByteArray("2\n") + INPLACE_UPDATE + "\nno_check\n");
}

void tst_InplaceProgram::server_stalls_isGivenUp()
{
    const FileMap files = InplaceStage::newRelease().published();
    m_stage->serve([&files](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) == QStringLiteral("/1.1.0/z")) {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nne");
            connection.hang();
            return;
        }
        ServeFiles(files)(connection, request);
    });
    QCOMPARE(m_stage->run({QStringLiteral("--stall"), QStringLiteral("1")}),
             QStringLiteral("stalled"));
    QVERIFY(m_stage->program().milliseconds() < 10000);
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    m_stage->publish(InplaceStage::newRelease());
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QVERIFY(!m_stage->requested().contains(Changed)); // what was there was kept
}

void tst_InplaceProgram::server_sendsMore_isGivenUp_data()
{
    QTest::addColumn<bool>("isChunked");
    QTest::newRow("announced") << false;
    QTest::newRow("chunked") << true;
}

void tst_InplaceProgram::server_sendsMore_isGivenUp()
{
    QFETCH(bool, isChunked);
    const FileMap files = InplaceStage::newRelease().published();
    const QByteArray block(1 << 16, 'x');
    m_stage->serve([&](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) != Changed) {
            ServeFiles(files)(connection, request);
            return;
        }
        bool isThere =
            connection.send(isChunked ? "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                      : "HTTP/1.1 200 OK\r\nContent-Length: 1000000000\r\n\r\n");
        for (int sent = 0; isThere && sent < 15000; ++sent) {
            isThere = connection.send(isChunked ? "10000\r\n" + block + "\r\n" : block);
            connection.pause(1);
        }
    });
    QCOMPARE(m_stage->run(), QStringLiteral("too-long"));
    QVERIFY(m_stage->program().milliseconds() < 10000);
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
}

void tst_InplaceProgram::server_textOfItsOwn_isMadeHarmless()
{
    m_stage->serve([](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 500 " + QByteArray("\x1b[31m\x07red ").repeated(2000) +
                        "\r\nContent-Length: 0\r\n\r\n");
    });
    QCOMPARE(m_stage->run(), QStringLiteral("network"));
    for (const QByteArray &said : {m_stage->program().output(), m_stage->program().errors()}) {
        QVERIFY(said.size() < 10000);
        QVERIFY(!said.contains('\x1b') && !said.contains('\x07') && !said.contains("\\u001b"));
    }
    m_stage->serve([](ScriptedConnection &connection, const QByteArray &) {
        connection.send(ScriptedServer::answer("200 OK", R"({"Folder":"\u001b[31m\u202e)" +
                                                             QByteArray(500000, 'x') + "\"}"));
    });
    QCOMPARE(m_stage->run(), QStringLiteral("description"));
    for (const QByteArray &said : {m_stage->program().output(), m_stage->program().errors()}) {
        QVERIFY(said.size() < 10000);
        QVERIFY(!said.contains('\x1b') && !said.contains("\\u001b") &&
                !said.contains("\xE2\x80\xAE"));
    }
}

void tst_InplaceProgram::signal_stops_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<QString>("at");
    QTest::newRow("SIGINT, in a file") << SIGINT << Changed;
    QTest::newRow("SIGTERM, in a file") << SIGTERM << Changed;
    QTest::newRow("SIGHUP, in a file") << SIGHUP << Changed;
    QTest::newRow("SIGTERM, in update.json") << SIGTERM << "/update.json";
}

void tst_InplaceProgram::signal_stops()
{
    QFETCH(int, signal);
    QFETCH(QString, at);
    const FileMap files = InplaceStage::newRelease().published();
    std::atomic<bool> isThere{false};
    m_stage->serve([&](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) != at) {
            ServeFiles(files)(connection, request);
            return;
        }
        isThere = true;
        connection.hang();
    });
    InplaceProgram program(m_stage->arguments());
    program.prefix(Attentive);
    program.start();
    QTRY_VERIFY(isThere);
    QVERIFY(program.send(signal));
    QVERIFY(program.waitForEnd(5000));
    QCOMPARE(program.exitCode(), 1);
    QCOMPARE(program.code(), QStringLiteral("cancelled"));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
}

void tst_InplaceProgram::limit_ofFileSize_isAFailure()
{
    TestRelease release = InplaceStage::newRelease();
    release.tree.insert(QStringLiteral("big"), File(QByteArray(100000, 'b')));
    m_stage->publish(release);
    InplaceProgram program(m_stage->arguments());
    QCOMPARE(program.run(QStringLiteral("ulimit -f 50")), 1);
    QVERIFY(!program.code().isEmpty());
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(release), QString());
}

void tst_InplaceProgram::locale_doesNotMatter()
{
    TestRelease release = InplaceStage::newRelease();
    release.tree.insert(QStringLiteral("资源/图标"), File("icon"));
    m_stage->publish(release);
    InplaceProgram program(m_stage->arguments());
    program.set(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    QCOMPARE(program.run(), 0);
    QCOMPARE(m_stage->differences(release), QString());
}

void tst_InplaceProgram::streams_closed_theUpdateGoesOn_data()
{
    QTest::addColumn<QString>("before");
    QTest::newRow("all are closed") << QStringLiteral("exec <&- >&- 2>&-");
    QTest::newRow("the reader has gone away") << QStringLiteral("exec > >(:) 2>&1");
}

void tst_InplaceProgram::streams_closed_theUpdateGoesOn()
{
    QFETCH(QString, before);
    const QStringList command = QStringList{QStringLiteral(INPLACE_UPDATE)} + m_stage->arguments();
    const int code = QProcess::execute(QStringLiteral("bash"),
                                       QStringList{QStringLiteral("-c"),
                                                   before + QStringLiteral("\nexec \"$@\""),
                                                   QStringLiteral("bash")} +
                                           command);
    QCOMPARE(code, 0);
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
}

QTEST_GUILESS_MAIN(tst_InplaceProgram)
#include "tst_inplace_program.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include <QProcess>
#include <QtTest>

#include <atomic>

/// The program itself: exit codes and what it prints.
class tst_InplaceProgram : public QObject {
    Q_OBJECT

private slots:
    void init();
    void console_update_isReported();
    void console_nothingToDo_isReported();
    void console_failure_isReported();
    void windows_update_printsNothingOnStandardOutput();
    void usage_bad_isTwo();
    void usage_help_isPrinted();
    void names_areUtf8_whateverTheLocale();
    void streams_asTheyAreLeft_theUpdateGoesOn_data();
    void streams_asTheyAreLeft_theUpdateGoesOn();

private:
    void run(const QStringList &arguments,
             const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
    QStringList arguments() const;

    QScopedPointer<InplaceStage> m_stage;
    int m_exitCode = -1;
    QByteArray m_output;
    QByteArray m_errors;
};

void tst_InplaceProgram::init()
{
    m_stage.reset(new InplaceStage);
}

QStringList tst_InplaceProgram::arguments() const
{
    return {QStringLiteral("--base-url"), m_stage->url(),
            QStringLiteral("--install"),  m_stage->folders.install.path(),
            QStringLiteral("--staging"),  m_stage->folders.staging.path()};
}

void tst_InplaceProgram::run(const QStringList &arguments, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(INPLACE_UPDATE), arguments);
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    m_exitCode = process.exitCode();
    m_output = process.readAllStandardOutput();
    m_errors = process.readAllStandardError();
}

void tst_InplaceProgram::console_update_isReported()
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("there is no display"));
    run(arguments() + QStringList(QStringLiteral("--console")), environment);
    QCOMPARE(m_output, QByteArray(R"({"errormsg":"更新成功","success":true,"update":true})"
                                  "\n"));
    QCOMPARE(m_exitCode, 0);
    QCOMPARE(m_errors, QByteArray("需要更新3个文件\n[2/3] added\n[3/3] z\n更新成功\n"));
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
}

void tst_InplaceProgram::console_nothingToDo_isReported()
{
    run(arguments() + QStringList(QStringLiteral("--console")));
    run(arguments() + QStringList(QStringLiteral("--console")));
    QCOMPARE(m_output, QByteArray(R"({"errormsg":"已是最新版本","success":true,"update":false})"
                                  "\n"));
    QCOMPARE(m_exitCode, 0);
}

void tst_InplaceProgram::console_failure_isReported()
{
    m_stage->serve(ServeFiles({{QStringLiteral("update.json"), "[]"}}));
    run(arguments() + QStringList(QStringLiteral("--console")));
    QCOMPARE(m_output, QByteArray(R"({"errormsg":"升级描述文件内容不合法:[]",)"
                                  R"("success":false,"update":false})"
                                  "\n"));
    QCOMPARE(m_exitCode, 1);
}

void tst_InplaceProgram::windows_update_printsNothingOnStandardOutput()
{
    run(arguments());
    QCOMPARE(m_output, QByteArray());
    QCOMPARE(m_errors, QByteArray("更新成功\n"));
    QCOMPARE(m_exitCode, 0);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
}

void tst_InplaceProgram::usage_bad_isTwo()
{
    run(arguments().mid(2));
    QCOMPARE(m_exitCode, 2);
    QCOMPARE(m_output, QByteArray());
    QVERIFY(m_errors.contains("--base-url"));
    QCOMPARE(m_stage->requested(), QStringList());
}

void tst_InplaceProgram::usage_help_isPrinted()
{
    run({QStringLiteral("-h")});
    QCOMPARE(m_exitCode, 0);
    QVERIFY(m_output.contains("--staging <DIR>"));
    QCOMPARE(m_errors, QByteArray());
}

void tst_InplaceProgram::names_areUtf8_whateverTheLocale()
{
    const QTemporaryDir &root = m_stage->folders.temporary;
    QVERIFY(QFile::rename(m_stage->folders.install.path(), root.filePath(QStringLiteral("安装"))));
    m_stage->folders.install = QDir(root.filePath(QStringLiteral("安装")));
    FileMap release = InplaceStage::newRelease();
    release.insert(QStringLiteral("资源/图标"), "icon");
    m_stage->publish(release);
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    run(arguments() + QStringList(QStringLiteral("--console")), environment);
    QCOMPARE(m_exitCode, 0);
    QCOMPARE(ReadFile(m_stage->installPath(QStringLiteral("资源/图标"))), QByteArray("icon"));
}

void tst_InplaceProgram::streams_asTheyAreLeft_theUpdateGoesOn_data()
{
    QTest::addColumn<QString>("command"); // with the program as "$@"
    QTest::addColumn<QStringList>("streams");
    const auto null = QStringLiteral("/dev/null");
    QTest::newRow("readers have gone away") << QStringLiteral("\"$@\" 2>&1 | :") << QStringList();
    QTest::newRow("all are closed")
        << QStringLiteral("exec \"$@\" <&- >&- 2>&-") << QStringList{null, null, null};
}

void tst_InplaceProgram::streams_asTheyAreLeft_theUpdateGoesOn()
{
    QFETCH(QString, command);
    QFETCH(QStringList, streams);
    const FileMap published = Published(InplaceStage::newRelease());
    std::atomic<qint64> processId{0};
    QStringList seen; // by the server's thread, in the midst of the update
    m_stage->serve([&](ScriptedConnection &connection, const QByteArray &request) {
        connection.pause(50); // by now the reader has gone
        if (RequestedPath(request) == QStringLiteral("/release/z")) {
            for (int stream = 0; stream < streams.size(); ++stream) {
                seen << QFile::symLinkTarget(
                    QStringLiteral("/proc/%1/fd/%2")
                        .arg(QString::number(processId), QString::number(stream)));
            }
        }
        ServeFiles(published)(connection, request);
    });
    QProcess process;
    process.start(QStringLiteral("/bin/sh"),
                  QStringList{QStringLiteral("-c"), command, QStringLiteral("sh"),
                              QStringLiteral(INPLACE_UPDATE), QStringLiteral("--console")} +
                      arguments());
    processId = process.processId();
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
    QVERIFY(m_stage->staged().isEmpty());
    m_stage->publish({}); // the server that may still see is gone
    QCOMPARE(seen, streams);
}

QTEST_GUILESS_MAIN(tst_InplaceProgram)
#include "tst_inplace_program.moc"

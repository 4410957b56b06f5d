// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"
#include "tests/support/Desktop.h"

#include <QtTest>

#include <atomic>
#include <csignal>

namespace {

const QString Notice = QStringLiteral("CUpdateNotice");
const QString Failure = QStringLiteral("CUpdateError");

} // namespace

/// The dialogs with the user, with real windows on a private screen.
class tst_InplaceWindows : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void ask_accepted_updatesAndStartsTheHost();
    void ask_putOff_changesNothingAndStartsTheHost();
    void ask_forced_offersNoChoice();
    void ask_nothingNew_showsNothing();
    void failure_isShown_retryHelps();
    void failure_givenUp_startsTheHost();
    void progress_endedByTheUser_isResumed_data();
    void progress_endedByTheUser_isResumed();
    void failure_page_isOpened();
    void failure_atTheFolders_isShown();
    void signal_endsTheDialog();

private:
    std::unique_ptr<InplaceProgram> start(const QStringList &more);
    bool isHostStarted() const { return QFile::exists(m_host + QStringLiteral(".seen")); }

    Desktop m_desktop;
    std::unique_ptr<InplaceStage> m_stage;
    QString m_host;
};

void tst_InplaceWindows::initTestCase()
{
    QVERIFY(m_desktop.isUp());
}

void tst_InplaceWindows::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
    m_stage->lay(InplaceStage::oldRelease());
    m_stage->publish(InplaceStage::newRelease());
    m_host = m_stage->temporary.filePath(QStringLiteral("host"));
    WriteFile(m_host, "#!/bin/sh\n: >\"$0.seen\"\n");
    QVERIFY(QFile::setPermissions(m_host, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

std::unique_ptr<InplaceProgram> tst_InplaceWindows::start(const QStringList &more)
{
    QStringList arguments =
        m_stage->arguments(more + QStringList{QStringLiteral("--start"), m_host});
    arguments.removeAll(QStringLiteral("--console"));
    auto program = std::make_unique<InplaceProgram>(arguments);
    const QProcessEnvironment shown = m_desktop.shownIn(QProcessEnvironment::systemEnvironment());
    for (const QString &name : shown.keys()) {
        program->set(name, shown.value(name));
    }
    program->set(QStringLiteral("PATH"), m_stage->temporary.path() + QLatin1Char(':') +
                                             shown.value(QStringLiteral("PATH")));
    program->start();
    return program;
}

void tst_InplaceWindows::ask_accepted_updatesAndStartsTheHost()
{
    const auto program = start({QStringLiteral("--ask")});
    const QString notice = m_desktop.waitForWindow(Notice);
    QVERIFY(!notice.isEmpty());
    QVERIFY(!m_stage->requested().contains(QStringLiteral("/1.1.0/z"))); // nothing yet
    m_desktop.press(notice, QStringLiteral("Return"));
    QVERIFY(program->waitForEnd());
    QCOMPARE(program->exitCode(), 0);
    QVERIFY(program->output().isEmpty());
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QTRY_VERIFY(isHostStarted());
}

void tst_InplaceWindows::ask_putOff_changesNothingAndStartsTheHost()
{
    const auto program = start({QStringLiteral("--ask")});
    const QString notice = m_desktop.waitForWindow(Notice);
    QVERIFY(!notice.isEmpty());
    m_desktop.click(notice, QPoint(500, 322));
    QVERIFY(program->waitForEnd());
    QCOMPARE(program->exitCode(), 1);
    QVERIFY(program->errors().contains("用户暂不更新"));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    QTRY_VERIFY(isHostStarted());
}

void tst_InplaceWindows::ask_forced_offersNoChoice()
{
    TestRelease release = InplaceStage::newRelease();
    release.minVersion = InplaceStage::oldRelease().version;
    m_stage->publish(release);
    const auto program = start({QStringLiteral("--ask")});
    const QString notice = m_desktop.waitForWindow(Notice);
    QVERIFY(!notice.isEmpty());
    m_desktop.click(notice, QPoint(500, 322)); // where the button would be
    QVERIFY(!program->waitForEnd(500));
    m_desktop.press(notice, QStringLiteral("Escape"));
    QVERIFY(program->waitForEnd());
    QCOMPARE(program->exitCode(), 1);
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
}

void tst_InplaceWindows::ask_nothingNew_showsNothing()
{
    m_stage->publish(InplaceStage::oldRelease());
    const auto program = start({QStringLiteral("--ask")});
    QVERIFY(program->waitForEnd());
    QCOMPARE(program->exitCode(), 0);
    QTRY_VERIFY(isHostStarted());
}

void tst_InplaceWindows::failure_isShown_retryHelps()
{
    const FileMap files = InplaceStage::newRelease().published();
    std::atomic<bool> isAway{true};
    m_stage->serve([&](ScriptedConnection &connection, const QByteArray &request) {
        if (isAway && RequestedPath(request) == QLatin1String("/1.1.0/z")) {
            connection.reset();
            return;
        }
        ServeFiles(files)(connection, request);
    });
    const auto program = start({QStringLiteral("--ask")});
    QString window = m_desktop.waitForWindow(Notice);
    QVERIFY(!window.isEmpty());
    m_desktop.press(window, QStringLiteral("Return"));
    window = m_desktop.waitForWindow(Failure);
    QVERIFY(!window.isEmpty());
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    isAway = false;
    m_desktop.press(window, QStringLiteral("Return")); // and is not asked again
    QVERIFY(program->waitForEnd());
    QCOMPARE(program->exitCode(), 0);
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
}

void tst_InplaceWindows::failure_givenUp_startsTheHost()
{
    m_stage->stopServing();
    const auto program = start({});
    const QString window = m_desktop.waitForWindow(Failure);
    QVERIFY(!window.isEmpty());
    m_desktop.press(window, QStringLiteral("Escape"));
    QVERIFY(program->waitForEnd());
    QCOMPARE(program->exitCode(), 1);
    QTRY_VERIFY(isHostStarted());
}

void tst_InplaceWindows::progress_endedByTheUser_isResumed_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("the button") << QString();
    QTest::newRow("Escape") << "Escape";
}

void tst_InplaceWindows::progress_endedByTheUser_isResumed()
{
    QFETCH(QString, key);
    const FileMap files = InplaceStage::newRelease().published();
    const QString last = QStringLiteral("/1.1.0/z");
    m_stage->serve([&](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) == last) {
            connection.hang();
            return;
        }
        ServeFiles(files)(connection, request);
    });
    const auto program = start({});
    const QString window = m_desktop.waitForWindowOf(QStringLiteral("inplace_update"));
    QVERIFY(!window.isEmpty());
    QTRY_VERIFY(m_stage->requested().contains(last));
    if (key.isEmpty()) {
        m_desktop.click(window, QPoint(500, 322));
    } else {
        m_desktop.press(window, key);
    }
    QVERIFY(program->waitForEnd(10000));
    QCOMPARE(program->exitCode(), 1);
    QVERIFY(program->errors().contains("已取消"));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    QTRY_VERIFY(isHostStarted());

    const QStringList before = m_stage->requested();
    m_stage->publish(InplaceStage::newRelease());
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QStringList after = m_stage->requested();
    QVERIFY(before.size() > 3 && after.removeAll(last) == 1);
    for (const QString &path : qAsConst(after)) { // the others were there
        QVERIFY2(path.endsWith(QLatin1String("update.json")) ||
                     path.endsWith(QLatin1String("update_md5.info")),
                 qPrintable(path));
    }
}

void tst_InplaceWindows::failure_page_isOpened()
{
    const QString opener = m_stage->temporary.filePath(QStringLiteral("xdg-open"));
    WriteFile(opener, "#!/bin/sh\nprintf '%s' \"$1\" >\"$0.part\"; mv \"$0.part\" \"$0.seen\"\n");
    QVERIFY(QFile::setPermissions(opener, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    FileMap files = InplaceStage::newRelease().published();
    files.remove(QStringLiteral("1.1.0/z"));
    m_stage->serve(ServeFiles(files));
    const auto program = start({});
    const QString window = m_desktop.waitForWindow(Failure);
    QVERIFY(!window.isEmpty());
    m_desktop.click(window, QPoint(500, 322));
    QTRY_COMPARE(ReadFile(opener + QStringLiteral(".seen")),
                 QByteArray("https://vendor.example/download"));
    m_desktop.press(window, QStringLiteral("Escape"));
    QVERIFY(program->waitForEnd());
}

void tst_InplaceWindows::failure_atTheFolders_isShown()
{
    m_stage->staging = m_stage->install;
    const auto program = start({});
    const QString window = m_desktop.waitForWindow(Failure);
    QVERIFY(!window.isEmpty());
    m_desktop.press(window, QStringLiteral("Escape"));
    QVERIFY(program->waitForEnd());
    QCOMPARE(program->exitCode(), 1);
}

void tst_InplaceWindows::signal_endsTheDialog()
{
    const auto program = start({QStringLiteral("--ask")});
    QVERIFY(!m_desktop.waitForWindow(Notice).isEmpty());
    QVERIFY(program->send(SIGTERM));
    QVERIFY(program->waitForEnd(10000));
    QCOMPARE(program->exitCode(), 1);
    QVERIFY(program->errors().contains("已取消"));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
}

QTEST_GUILESS_MAIN(tst_InplaceWindows)
#include "tst_inplace_windows.moc"

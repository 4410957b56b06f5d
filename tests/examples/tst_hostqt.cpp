// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/SessionTest.h"

#include <QtTest>

namespace {

const QString Kestrel = QStringLiteral("Kestrel 3.0.0");
const QString Notice = QStringLiteral("CUpdateNotice");
const QString Box = QStringLiteral("Updates");
const QString NoCheck = QStringLiteral("no_check");

const QByteArray Newer =
    R"({"Version":3010000,"VersionString":"3.1.0","DownloadUrl":"https://example.com/"})";
const QByteArray Same = R"({"Version":3000000,"VersionString":"3.0.0"})";

} // namespace

/// The sample host application and the real updater, with a user at the keyboard.
class tst_HostQt : public SessionTest {
    Q_OBJECT

public:
    tst_HostQt() : SessionTest(UPDATER_PORT) {}

private slots:
    void init();
    void cleanup();

    void start_newer_accepted_quits();
    void start_newer_declined_staysOpen();
    void start_noCheck_asksNobody();
    void menu_noUpdate_saysSo();
    void menu_updaterMissing_saysSo();
    void close_duringTheNotice_waitsForTheUpdater();
    void start_twice_isOneWindow();
    void start_byAWindowedSession_keepsTheOpenWindow();

private:
    std::unique_ptr<QProcess> start(const QStringList &arguments = {});
    void answerWith(const QByteArray &body)
    {
        m_answers = {ScriptedServer::answer("200 OK", body)};
    }
    int requests() const { return m_server->requests().size(); }

    std::unique_ptr<HostBundle> m_bundle;
    int m_before = 0;
};

void tst_HostQt::init()
{
    answerWith(Newer);
    m_before = requests();
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
    m_bundle->writeConfig("ExeName=Kestrel\n");
    QVERIFY(
        QFile::copy(QStringLiteral(KESTREL), m_bundle->macOsDir() + QStringLiteral("/Kestrel")));
}

void tst_HostQt::cleanup()
{
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
}

std::unique_ptr<QProcess> tst_HostQt::start(const QStringList &arguments)
{
    auto kestrel = std::make_unique<ChildProcess>();
    m_bundle->prepare(*kestrel, m_desktop->shownIn(m_bundle->environment()));
    kestrel->start(m_bundle->macOsDir() + QStringLiteral("/Kestrel"), arguments);
    (void)kestrel->waitForStarted(); // else its windows do not come
    return kestrel;
}

void tst_HostQt::start_newer_accepted_quits()
{
    const auto kestrel = start();
    const QString notice = m_desktop->waitForWindow(Notice);
    QVERIFY(!notice.isEmpty());
    QVERIFY(m_desktop->hasWindow(Kestrel));
    m_desktop->press(notice, QStringLiteral("Return"));
    QVERIFY(kestrel->waitForFinished());
    QCOMPARE(kestrel->exitCode(), 0);
    QTRY_COMPARE(m_bundle->browserAddresses(), QStringList(QStringLiteral("https://example.com/")));
}

void tst_HostQt::start_newer_declined_staysOpen()
{
    const auto kestrel = start();
    m_desktop->press(m_desktop->waitForWindow(Notice), QStringLiteral("Escape"));
    QVERIFY(m_desktop->waitForNoWindow(Notice));
    QVERIFY(!kestrel->waitForFinished(300));
    QVERIFY(!m_desktop->hasWindow(Box)); // nobody asked
    m_desktop->press(m_desktop->waitForWindow(Kestrel), QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
    QCOMPARE(kestrel->exitCode(), 0);
}

void tst_HostQt::start_noCheck_asksNobody()
{
    const auto kestrel = start({m_bundle->updaterPath(), NoCheck});
    const QString window = m_desktop->waitForWindow(Kestrel);
    QVERIFY(!kestrel->waitForFinished(300));
    m_desktop->press(window, QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
    QCOMPARE(requests(), m_before);
}

void tst_HostQt::menu_noUpdate_saysSo()
{
    answerWith(Same);
    const auto kestrel = start({m_bundle->updaterPath(), NoCheck});
    const QString window = m_desktop->waitForWindow(Kestrel);
    m_desktop->press(window, QStringLiteral("ctrl+u"));
    const QString box = m_desktop->waitForWindow(Box);
    QVERIFY(!box.isEmpty());
    QCOMPARE(requests(), m_before + 1);
    m_desktop->press(box, QStringLiteral("Return"));
    QVERIFY(m_desktop->waitForNoWindow(Box));
    m_desktop->press(window, QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
    QVERIFY(ReadFile(m_bundle->path(QStringLiteral("records/stderr")))
                .contains("current version:3.0.0, newest version:3.0.0"));
}

void tst_HostQt::menu_updaterMissing_saysSo()
{
    QVERIFY(QFile::remove(m_bundle->updaterPath()));
    const auto kestrel = start({m_bundle->updaterPath(), NoCheck});
    const QString window = m_desktop->waitForWindow(Kestrel);
    m_desktop->press(window, QStringLiteral("ctrl+u"));
    const QString box = m_desktop->waitForWindow(Box);
    QVERIFY(!box.isEmpty());
    m_desktop->press(box, QStringLiteral("Return"));
    QVERIFY(m_desktop->waitForNoWindow(Box));
    m_desktop->press(window, QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
}

void tst_HostQt::close_duringTheNotice_waitsForTheUpdater()
{
    const auto kestrel = start();
    const QString notice = m_desktop->waitForWindow(Notice);
    m_desktop->press(m_desktop->waitForWindow(Kestrel), QStringLiteral("ctrl+q"));
    QVERIFY(m_desktop->waitForNoWindow(Kestrel));
    QVERIFY(!kestrel->waitForFinished(300));
    QVERIFY(m_desktop->hasWindow(Notice));
    m_desktop->press(notice, QStringLiteral("Escape"));
    QVERIFY(kestrel->waitForFinished());
    QCOMPARE(m_bundle->log().last(), Marker("1"));
}

void tst_HostQt::start_twice_isOneWindow()
{
    const auto kestrel = start({m_bundle->updaterPath(), NoCheck});
    const QString window = m_desktop->waitForWindow(Kestrel);
    const auto second = start();
    QVERIFY(second->waitForFinished());
    QCOMPARE(second->exitCode(), 0);
    QCOMPARE(requests(), m_before);
    m_desktop->press(window, QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
}

void tst_HostQt::start_byAWindowedSession_keepsTheOpenWindow()
{
    answerWith(Same);
    const auto kestrel = start({m_bundle->updaterPath(), NoCheck});
    const QString window = m_desktop->waitForWindow(Kestrel);
    const auto session = m_bundle->start({}, m_desktop->shownIn(m_bundle->environment()));
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId(), kestrel->processId()}));
    QCOMPARE(kestrel->state(), QProcess::Running);
    QCOMPARE(m_desktop->waitForWindow(Kestrel), window);
    m_desktop->press(window, QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
}

QTEST_GUILESS_MAIN(tst_HostQt)
#include "tst_hostqt.moc"

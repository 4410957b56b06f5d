// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/Desktop.h"
#include "tests/support/HostBundle.h"
#include "tests/support/Nginx.h"

#include <QtTest>

namespace {

const QString Kestrel = QStringLiteral("Kestrel 3.0.0");
const QString Box = QStringLiteral("Updates");
const QString NoCheck = QStringLiteral("no_check");

} // namespace

/// The sample host application with inplace_update in its bundle.
class tst_HostQtInplace : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { m_server.reset(); }

    void newer_isInstalledAtTheEnd();
    void menu_nothingNewer_saysSo();
    void close_duringTheFetch_endsIt();

private:
    void publish(const QString &version);
    std::unique_ptr<QProcess> start(const QStringList &arguments = {});
    QByteArray said() const { return ReadFile(m_bundle->path(QStringLiteral("records/stderr"))); }
    QString contents(const char *name) const
    {
        return m_bundle->path(QStringLiteral("X.app/Contents/") + QLatin1String(name));
    }

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<Nginx> m_server;
    std::unique_ptr<HostBundle> m_bundle;
};

void tst_HostQtInplace::initTestCase()
{
    AdoptDescendants();
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->isUp());
}

void tst_HostQtInplace::init()
{
    m_server = std::make_unique<Nginx>(UPDATER_PORT);
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
    m_bundle->writeConfig("ExeName=Kestrel\n");
    QVERIFY(QFile::copy(QStringLiteral(KESTREL), contents("MacOS/Kestrel")));
    QVERIFY(QFile::copy(QStringLiteral(INPLACE_UPDATE), contents("MacOS/inplace_update")));
}

std::unique_ptr<QProcess> tst_HostQtInplace::start(const QStringList &arguments)
{
    auto kestrel = std::make_unique<ChildProcess>();
    m_bundle->prepare(*kestrel, m_desktop->shownIn(m_bundle->environment()));
    kestrel->start(contents("MacOS/Kestrel"), arguments);
    (void)kestrel->waitForStarted(); // else its windows do not come
    return kestrel;
}

/// Publishes a copy of the bundle with \a version.
void tst_HostQtInplace::publish(const QString &version)
{
    const QString release = m_bundle->path(QStringLiteral("release"));
    QCOMPARE(
        QProcess::execute(QStringLiteral("cp"),
                          {QStringLiteral("-R"), m_bundle->path(QStringLiteral("X.app")), release}),
        0);
    QByteArray newer = ReadFile(contents("Info.plist"));
    newer.replace("3.0.0", version.toUtf8());
    WriteFile(release + QStringLiteral("/Contents/Info.plist"), newer);
    WriteFile(release + QStringLiteral("/Contents/Resources/large"), QByteArray(3000000, 'l'));
    QProcess publish;
    publish.start(QStringLiteral(PUBLISH_UPDATE),
                  {QStringLiteral("--version"), version, QStringLiteral("--min-version"),
                   QStringLiteral("2.0.0"), QStringLiteral("--download-url"),
                   QStringLiteral("https://example.com/"), release, m_server->root()});
    QVERIFY(publish.waitForFinished());
    QVERIFY2(publish.exitCode() == 0, publish.readAllStandardError().constData());
}

void tst_HostQtInplace::newer_isInstalledAtTheEnd()
{
    publish(QStringLiteral("3.1.0"));
    QVERIFY(m_server->start());
    const auto kestrel = start();
    QTRY_VERIFY2_WITH_TIMEOUT(said().contains("Kestrel: fetched 3.1.0"), said().constData(), 20000);
    QVERIFY(ReadFile(contents("Info.plist")).contains("3.0.0"));
    m_desktop->press(m_desktop->waitForWindow(Kestrel), QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
    m_server->kill();
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
    QVERIFY2(ReadFile(contents("Info.plist")).contains("3.1.0"), said().constData());
    QCOMPARE(ReadFile(contents("Resources/large")).size(), 3000000);
}

void tst_HostQtInplace::menu_nothingNewer_saysSo()
{
    publish(QStringLiteral("3.1.0"));
    QVERIFY(m_server->start());
    const auto first = start();
    QTRY_VERIFY_WITH_TIMEOUT(said().contains("Kestrel: fetched 3.1.0"), 20000);
    m_desktop->press(m_desktop->waitForWindow(Kestrel), QStringLiteral("ctrl+q"));
    QVERIFY(first->waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(ReadFile(contents("Info.plist")).contains("3.1.0"), 20000);

    const auto kestrel = start({m_bundle->updaterPath(), NoCheck});
    const QString window = m_desktop->waitForWindow(Kestrel);
    m_desktop->press(window, QStringLiteral("ctrl+u"));
    const QString box = m_desktop->waitForWindow(Box);
    QVERIFY(!box.isEmpty());
    QVERIFY2(said().contains("Kestrel: fetched") && !said().contains("Kestrel: fetched 3.1.0"),
             said().constData());
    m_desktop->press(box, QStringLiteral("Return"));
    QVERIFY(m_desktop->waitForNoWindow(Box));
    m_desktop->press(window, QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished());
}

void tst_HostQtInplace::close_duringTheFetch_endsIt()
{
    publish(QStringLiteral("3.1.0"));
    QVERIFY(m_server->start(50000)); // a minute for the large file
    const auto kestrel = start();
    QTRY_VERIFY_WITH_TIMEOUT(said().contains("large"), 20000);
    m_desktop->press(m_desktop->waitForWindow(Kestrel), QStringLiteral("ctrl+q"));
    QVERIFY(kestrel->waitForFinished(10000));
    m_server->kill();
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
    QVERIFY(ReadFile(contents("Info.plist")).contains("3.0.0"));
}

QTEST_GUILESS_MAIN(tst_HostQtInplace)
#include "tst_hostqt_inplace.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/PowerTest.h"
#include "tests/support/HostBundle.h"
#include "tests/support/ScriptedServer.h"

#include <QDir>
#include <QtTest>

namespace {

QString Missing;

const QByteArray NoUpdate =
    R"({"errormsg":"current version:3.0.0, newest version:3.0.0","success":true,"update":false})";
const QByteArray Start = "更新程序启动";
const QByteArray End = "更新程序关闭3------------------\n";

QString Home(const QStringList &tops)
{
    return tops.first() + QStringLiteral("/home");
}

} // namespace

/// The power fails while sessions write their logs into a new data directory, and afterwards.
class tst_PowerSession : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void session_afterThePowerFailed_isAsEver();

private:
    QString session(const QString &home) const;
    PowerScene scene() const;

    std::unique_ptr<HostBundle> m_bundle;
    std::unique_ptr<ScriptedServer> m_server;
};

void tst_PowerSession::initTestCase()
{
    if (!Missing.isEmpty()) {
        QSKIP(qPrintable(Missing));
    }
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
    m_server = std::make_unique<ScriptedServer>(
        ScriptedServer::always(ScriptedServer::answer(
            "200 OK", R"({"Version":3000000,"VersionString":"3.0.0","MinVersion":1})")),
        UPDATER_PORT);
}

/// Runs a session with this home. Returns what is wrong, or empty text.
QString tst_PowerSession::session(const QString &home) const
{
    QProcessEnvironment environment = m_bundle->environment();
    environment.insert(QStringLiteral("HOME"), home);
    const auto process = m_bundle->start({QStringLiteral("console")}, environment);
    if (!process->waitForFinished() || process->exitStatus() != QProcess::NormalExit) {
        return QStringLiteral("the session did not end");
    }
    const QByteArray report = process->readAllStandardOutput();
    if (process->exitCode() != 1 || report != NoUpdate) { // 1: no update is needed
        return QStringLiteral("exit code %1, %2")
            .arg(QString::number(process->exitCode()), QString::fromUtf8(report));
    }
    const QDir logs(home + QStringLiteral("/.com.example.kestrel/Log"));
    const QStringList days = logs.entryList(QDir::Files, QDir::Name);
    const QByteArray log = days.isEmpty() ? QByteArray() : ReadFile(logs.filePath(days.last()));
    return log.contains(Start) && log.endsWith(End) ? QString() : QStringLiteral("it has no log");
}

PowerScene tst_PowerSession::scene() const
{
    PowerScene scene;
    scene.prepare = [](const QStringList &tops) { (void)QDir().mkpath(Home(tops)); };
    scene.act = [this](const QStringList &tops) {
        for (int i = 0; i < 3; ++i) {
            const QString wrong = session(Home(tops));
            if (!wrong.isEmpty()) {
                qFatal("%s", qPrintable(wrong));
            }
        }
    };
    scene.judge = [this](const QStringList &tops, bool) { return session(Home(tops)); };
    return scene;
}

void tst_PowerSession::session_afterThePowerFailed_isAsEver()
{
    const PowerTally tally =
        CutPower(QStringLiteral("session"), ChosenImages(10), [this](int) { return scene(); });
    QVERIFY2(tally.isClean(), qPrintable(tally.text()));
}

int main(int argc, char *argv[])
{
    EnterPowerTest(Missing);
    QCoreApplication application(argc, argv);
    tst_PowerSession test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_power_session.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "tests/inplace/InplaceProgram.h"
#include "tests/inplace/Samples.h"
#include "tests/power/PowerTest.h"

#include <QtTest>

namespace {

constexpr int Entries = 60;

QString Missing;

/// The folders of an update: everything on the first disk, or staging on the last.
struct Folders {
    explicit Folders(const QStringList &tops)
        : parent(tops.first() + QStringLiteral("/around")),
          install(parent + QStringLiteral("/Sample.app")),
          previous(parent + QStringLiteral("/.Sample.app#previous")),
          staging(tops.last() + QStringLiteral("/staging"))
    {
    }

    const QString parent;
    const QString install;
    const QString previous;
    const QString staging;
};

/// Where the interrupted update runs.
struct Surroundings {
    int disks = 1;
    bool hasExchange = true; ///< whether two names can be exchanged
    QString preloaded;       ///< library for the interrupted run
};

QString DifferencesIn(const QString &folder, const TestRelease &release)
{
    return QFileInfo(folder).isDir()
               ? Differences(ReadNodes(folder), WithFolders(release.tree))
               : QStringLiteral("%1 is missing").arg(QFileInfo(folder).fileName());
}

/// The first lines are enough to know what happened.
QString Gist(const QString &text)
{
    return text.section(QLatin1Char('\n'), 0, 3);
}

} // namespace

/// The power fails during an update in place, and after it.
class tst_PowerInplace : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void update_powerFails_installationIsWholeAndMends_data();
    void update_powerFails_installationIsWholeAndMends();
    void update_withoutSyncs_isSeenToLose_data();
    void update_withoutSyncs_isSeenToLose();

private:
    PowerScene scene(const Surroundings &surroundings);
    QString judge(const Folders &folders, const Surroundings &surroundings, bool done);
    QString judgeRun(const Folders &folders, const Surroundings &surroundings, bool isOnline,
                     bool wasNew);
    QString judgeEnd(const Folders &folders) const;
    int run(const Folders &folders, const QString &url, const QString &preloaded = {});
    static QString nobody() { return QStringLiteral("http://127.0.0.1:1"); }

    const TestRelease m_first = ManyKinds(1, Entries);
    const TestRelease m_old = ManyKinds(2, Entries);
    const TestRelease m_new = ManyKinds(3, Entries);
    std::unique_ptr<ScriptedServer> m_oldServer;
    std::unique_ptr<ScriptedServer> m_newServer;
    QByteArray m_lastErrors; ///< of the last run
    int m_judged = 0;
};

void tst_PowerInplace::initTestCase()
{
    if (!Missing.isEmpty()) {
        QSKIP(qPrintable(Missing));
    }
    m_oldServer = std::make_unique<ScriptedServer>(ServeFiles(m_old.published()));
    m_newServer = std::make_unique<ScriptedServer>(ServeFiles(m_new.published()));
}

/// Runs the program. Returns its exit code, or -1 when it did not end by itself.
int tst_PowerInplace::run(const Folders &folders, const QString &url, const QString &preloaded)
{
    InplaceProgram program({QStringLiteral("--base-url"), url, QStringLiteral("--install"),
                            folders.install, QStringLiteral("--staging"), folders.staging,
                            QStringLiteral("--console")});
    if (!preloaded.isEmpty()) {
        program.set(QStringLiteral("LD_PRELOAD"), preloaded);
    }
    const int code = program.run();
    m_lastErrors = program.errors();
    return code;
}

PowerScene tst_PowerInplace::scene(const Surroundings &surroundings)
{
    PowerScene scene;
    scene.disks = surroundings.disks;
    scene.prepare = [this](const QStringList &tops) {
        const Folders folders(tops);
        LayNodes(folders.install, m_first.tree);
        WriteFile(folders.staging + QLatin1Char('/') + LOCAL_MD5_FILENAME,
                  ManifestContent(m_first.manifest()));
        if (run(folders, m_oldServer->url(QString())) != 0) {
            qFatal("The old release: %s", m_lastErrors.constData());
        }
    };
    scene.act = [=](const QStringList &tops) {
        if (run(Folders(tops), m_newServer->url(QString()), surroundings.preloaded) != 0) {
            qFatal("The new release: %s", m_lastErrors.constData());
        }
    };
    scene.judge = [=](const QStringList &tops, bool done) {
        return judge(Folders(tops), surroundings, done);
    };
    return scene;
}

QString tst_PowerInplace::judge(const Folders &folders, const Surroundings &surroundings, bool done)
{
    const QString toNew = DifferencesIn(folders.install, m_new);
    const QString toOld = DifferencesIn(folders.install, m_old);
    // Without an exchange there is a moment without an installation: it is reported and repaired.
    const bool isGap = !surroundings.hasExchange && !QFileInfo::exists(folders.install);
    if (!toNew.isEmpty() && (done || (!toOld.isEmpty() && !isGap))) {
        return Gist(done ? toNew : toOld);
    }
    // Which of the two runs first varies.
    const bool onlineFirst = ++m_judged % 2 == 0;
    QString wrong = judgeRun(folders, surroundings, onlineFirst, toNew.isEmpty());
    if (wrong.isEmpty()) {
        wrong = judgeRun(folders, surroundings, !onlineFirst, onlineFirst || toNew.isEmpty());
    }
    return wrong.isEmpty() ? judgeEnd(folders) : wrong;
}

/// Runs the program with or without its server. Returns what is wrong afterwards.
QString tst_PowerInplace::judgeRun(const Folders &folders, const Surroundings &surroundings,
                                   bool isOnline, bool wasNew)
{
    const QString who =
        isOnline ? QStringLiteral("run with a server: ") : QStringLiteral("run without a server: ");
    const int code = run(folders, isOnline ? m_newServer->url(QString()) : nobody(),
                         surroundings.hasExchange ? QString() : surroundings.preloaded);
    if (code != (isOnline ? 0 : 1)) {
        return who + QStringLiteral("exit code %1, ").arg(code) + QString::fromUtf8(m_lastErrors);
    }
    const QString toNew = DifferencesIn(folders.install, m_new);
    if (toNew.isEmpty()) {
        return {};
    }
    const QString wrong = isOnline || wasNew ? toNew : DifferencesIn(folders.install, m_old);
    return wrong.isEmpty() ? wrong : who + Gist(wrong);
}

/// Checks that the former tree is kept and nothing else is left.
QString tst_PowerInplace::judgeEnd(const Folders &folders) const
{
    const QStringList names =
        QDir(folders.parent)
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    if (names.size() != 2) {
        return QStringLiteral("left over: ") + names.join(QLatin1Char(' '));
    }
    return Gist(DifferencesIn(folders.previous, m_old));
}

void tst_PowerInplace::update_powerFails_installationIsWholeAndMends_data()
{
    QTest::addColumn<int>("disks");
    QTest::addColumn<bool>("hasExchange");
    QTest::newRow("staging on the same file system") << 1 << true;
    QTest::newRow("staging on another file system") << 2 << true;
    QTest::newRow("no exchange of names") << 1 << false;
}

void tst_PowerInplace::update_powerFails_installationIsWholeAndMends()
{
    QFETCH(int, disks);
    QFETCH(bool, hasExchange);
    const PowerTally tally =
        CutPower(QStringLiteral("inplace_update, ") + QLatin1String(QTest::currentDataTag()),
                 ChosenImages(24) / 3, [=](int) {
                     return scene({disks, hasExchange, hasExchange ? QString() : NO_EXCHANGE});
                 });
    QVERIFY2(tally.isClean(), qPrintable(tally.text()));
}

void tst_PowerInplace::update_withoutSyncs_isSeenToLose_data()
{
    AddLibrariesWithoutSyncs(true);
}

void tst_PowerInplace::update_withoutSyncs_isSeenToLose()
{
    QFETCH(QString, preloaded);
    const PowerTally tally =
        CutPower(QStringLiteral("inplace_update ") + QLatin1String(QTest::currentDataTag()),
                 ChosenImages(72) / 12, [=](int) {
                     return scene({1, true, preloaded});
                 });
    QVERIFY2(tally.losses > 0, qPrintable(tally.text()));
}

int main(int argc, char *argv[])
{
    EnterPowerTest(Missing);
    QCoreApplication application(argc, argv);
    tst_PowerInplace test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_power_inplace.moc"

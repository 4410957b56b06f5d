// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

/// --apply-only when it cannot read what was fetched: it says so, keeps it, and completes later.
class tst_InplaceApplyOnly : public QObject {
    Q_OBJECT

private slots:
    void init();
    void fetched_unreadable_isKept_data();
    void fetched_unreadable_isKept();
    void fetched_partlyGone_isNotReady_data();
    void fetched_partlyGone_isNotReady();

private:
    QString run(const char *task);
    QString at(const QString &path) const { return m_stage->temporary.filePath(path); }

    std::unique_ptr<InplaceStage> m_stage;
    std::unique_ptr<InplaceProgram> m_program;
};

void tst_InplaceApplyOnly::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
    m_stage->lay(InplaceStage::oldRelease());
    m_stage->publish(InplaceStage::newRelease());
    QVERIFY(QDir().mkpath(m_stage->staging));
    if (::geteuid() == 0) {
        QCOMPARE(QProcess::execute(QStringLiteral("chown"),
                                   {QStringLiteral("-hR"), QStringLiteral("65534:65534"),
                                    m_stage->temporary.path()}),
                 0);
    }
}

/// Runs the program as a user to whom permissions apply. Returns the code in its report.
QString tst_InplaceApplyOnly::run(const char *task)
{
    m_program = std::make_unique<InplaceProgram>(m_stage->arguments({QLatin1String(task)}));
    if (::geteuid() == 0) {
        m_program->prefix({QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"),
                           QStringLiteral("--regid=65534"), QStringLiteral("--clear-groups")});
    }
    (void)m_program->run();
    return m_program->code();
}

void tst_InplaceApplyOnly::fetched_unreadable_isKept_data()
{
    QTest::addColumn<QString>("path");
    const QString state = QStringLiteral("staging/inplace_update#state/ready/");
    QTest::newRow("a folder of the new tree") << "around/.Sample#new/d";
    QTest::newRow("the description") << state + "update.json";
    QTest::newRow("the manifest") << state + "1.1.0/update_md5.info";
}

void tst_InplaceApplyOnly::fetched_unreadable_isKept()
{
    QFETCH(QString, path);
    const QByteArray name = QFile::encodeName(at(path));
    QCOMPARE(run("--fetch-only"), QStringLiteral("ready"));
    m_stage->stopServing();
    struct stat about {};
    QCOMPARE(::stat(name.constData(), &about), 0);
    QCOMPARE(::chmod(name.constData(), 0), 0);
    QCOMPARE(run("--apply-only"), QStringLiteral("storage"));
    QVERIFY2(m_program->errors().contains(name), m_program->errors().constData());
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());

    QCOMPARE(::chmod(name.constData(), about.st_mode & 07777U), 0);
    QCOMPARE(run("--apply-only"), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
}

void tst_InplaceApplyOnly::fetched_partlyGone_isNotReady_data()
{
    fetched_unreadable_isKept_data();
}

void tst_InplaceApplyOnly::fetched_partlyGone_isNotReady()
{
    QFETCH(QString, path);
    QCOMPARE(run("--fetch-only"), QStringLiteral("ready"));
    QCOMPARE(QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-r"), at(path)}), 0);
    QCOMPARE(run("--apply-only"), QStringLiteral("nothing-ready"));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    QCOMPARE(run("--fetch-only"), QStringLiteral("ready"));
    QCOMPARE(run("--apply-only"), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
}

QTEST_GUILESS_MAIN(tst_InplaceApplyOnly)
#include "tst_inplace_applyonly.moc"

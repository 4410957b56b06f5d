// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/publish/PublishTool.h"
#include "tests/support/MemoryFolder.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/SmallVolume.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

namespace {

bool HasOwnMounts = false;

} // namespace

/// publish_update with too much of something, too little of something, and files that change
/// meanwhile.
class tst_PublishCrowd : public QObject {
    Q_OBJECT

private slots:
    void init();
    void release_changesWhileItIsRead_isRefused_data();
    void release_changesWhileItIsRead_isRefused();
    void volume_full_isSaid_data();
    void volume_full_isSaid();
    void release_ofManyFiles_isPublished();

private:
    ToolRun publish() const { return RunPublish(PublishArguments(m_release, m_output)); }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_release;
    QString m_output;
};

void tst_PublishCrowd::init()
{
    m_folder = std::make_unique<QTemporaryDir>(MemoryFolder());
    m_release = m_folder->filePath("release");
    m_output = m_folder->filePath("output");
}

void tst_PublishCrowd::release_changesWhileItIsRead_isRefused_data()
{
    QTest::addColumn<QString>("change"); // run again and again
    QTest::newRow("a file is written to") << "printf x >> d/changing";
    QTest::newRow("a file is replaced") << "echo y > t; mv t d/changing";
    QTest::newRow("files come") << "touch d/come-$n";
    QTest::newRow("folders come") << "mkdir come-$n";
    QTest::newRow("a link leads elsewhere") << "ln -sfn d/f$((n % 100)) changing";
}

void tst_PublishCrowd::release_changesWhileItIsRead_isRefused()
{
    QFETCH(QString, change);
    WriteFile(m_release + "/d/changing", "x");
    for (int number = 0; number < 200; ++number) {
        WriteFile(QStringLiteral("%1/d/f%2").arg(m_release, QString::number(number)),
                  QByteArray(200000, static_cast<char>(number)));
    }
    QProcess other;
    other.setWorkingDirectory(m_release);
    other.start("sh", {"-c", "n=0; while :; do n=$((n + 1)); " + change + "; done"});
    QTRY_VERIFY(QProcess::execute("sh", {"-c", "sleep 0.05"}) == 0 &&
                other.state() == QProcess::Running);
    const ToolRun run = publish();
    other.kill();
    QVERIFY(other.waitForFinished());
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains("while it was read.") || run.errors.contains("cannot be "),
             run.errors.constData());
    QVERIFY(!QFileInfo::exists(m_output));
}

void tst_PublishCrowd::volume_full_isSaid_data()
{
    QTest::addColumn<int>("pages"); // that are free
    for (const int pages : {0, 1, 3, 10, 50}) {
        QTest::newRow(qPrintable(QString::number(pages) + " pages free")) << pages;
    }
    QTest::newRow("room enough") << 200;
}

void tst_PublishCrowd::volume_full_isSaid()
{
    if (!HasOwnMounts) {
        QSKIP("The system does not allow private mounts.");
    }
    QFETCH(int, pages);
    WriteFile(m_release + "/d/file", QByteArray(300000, 'x'));
    QVERIFY(QDir().mkpath(m_output));
    const SmallVolume volume(m_output, 2);
    WriteFile(m_output + "/update.json", R"({"Version":1})");
    volume.fillAllBut(pages);
    QMap<QString, QByteArray> before = FilesBelow(m_output);
    const ToolRun run = publish();
    QCOMPARE(run.exitCode, pages == 200 ? 0 : 1);
    QCOMPARE(run.output.contains("Published"), pages == 200);
    if (pages < 200) {
        QVERIFY2(run.errors.contains("No space left on device"), run.errors.constData());
        QCOMPARE(FilesBelow(m_output), before);
        volume.makeRoom();
        QCOMPARE(publish().exitCode, 0);
    }
    QVERIFY(ReadFile(m_output + "/update.json").contains("3.10.25"));
}

void tst_PublishCrowd::release_ofManyFiles_isPublished()
{
    const int entries = qEnvironmentVariableIsSet("UPDATER_MANY") ? 200000 : 5000;
    for (int number = 0; number < entries; ++number) {
        const QString folder =
            QStringLiteral("%1/d%2").arg(m_release, QString::number(number / 500));
        QVERIFY(number % 500 != 0 || QDir().mkpath(folder));
        const QByteArray path = (folder + "/f" + QString::number(number)).toUtf8();
        QCOMPARE(::mknod(path.constData(), S_IFREG | 0644, 0), 0);
    }
    ToolRun run = RunPublish(PublishArguments(m_release, m_output), {}, 300);
    QCOMPARE(run.errors, QByteArray());
    QVERIFY2(run.output.contains(": " + QByteArray::number(entries) + " files, 0 bytes, "),
             run.output.constData());
    run = RunPublish({"--verify", m_output}, {}, 300);
    QCOMPARE(run.exitCode, 0);
    run = RunPublish({"--list", m_output});
    QVERIFY2(run.output.contains(' ' + QByteArray::number(entries) + ' '), run.output.constData());
}

int main(int argc, char *argv[])
{
    HasOwnMounts = EnterOwnNamespaces(OwnMounts);
    const QCoreApplication application(argc, argv);
    tst_PublishCrowd test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_publishcrowd.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class tst_DownloadThreadResume : public QObject {
    Q_OBJECT

private slots:
    void resume_manyStagedFiles_fitIntoTheStack();
};

void tst_DownloadThreadResume::resume_manyStagedFiles_fitIntoTheStack()
{
    const QTemporaryDir folder;
    const QString staging = folder.filePath(QStringLiteral("staging"));
    const QString install = folder.filePath(QStringLiteral("install"));
    QVERIFY(QDir().mkpath(staging) && QDir().mkpath(install));

    QProcess process;
    process.start(QStringLiteral("/bin/sh"),
                  {QStringLiteral("-c"), QStringLiteral("ulimit -s 8192 && exec \"$@\""),
                   QStringLiteral("sh"), QStringLiteral(RESUME_STAGED), staging, install});
    QVERIFY(process.waitForFinished(200000));

    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()),
             QStringLiteral("下载更新文件last网络错误"));
    QCOMPARE(process.exitCode(), 0);
}

QTEST_GUILESS_MAIN(tst_DownloadThreadResume)
#include "tst_downloadthread_resume.moc"

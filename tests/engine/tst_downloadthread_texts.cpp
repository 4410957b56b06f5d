// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"
#include "tests/support/ContextTranslator.h"
#include "tests/support/OrdinaryUser.h"

#include <QtTest>

namespace {

const QByteArray Answer = ScriptedServer::answer("200 OK", "1");

} // namespace

/// The worker's messages are translated in the context of its class.
class tst_DownloadThreadTexts : public QObject {
    Q_OBJECT

private slots:
    void init();
    void message_ofADownload_isInTheClasssContext_data();
    void message_ofADownload_isInTheClasssContext();
    void message_ofTheStaging_isInTheClasssContext();
    void message_ofTheApply_isInTheClasssContext_data();
    void message_ofTheApply_isInTheClasssContext();

private:
    QString message(const QByteArray &answer, const QString &path = QStringLiteral("file")) const;

    QScopedPointer<UpdateFolders> m_folders;
};

void tst_DownloadThreadTexts::init()
{
    m_folders.reset(new UpdateFolders);
}

/// Runs an update of the file \a path, whose content is "1", and returns the worker's last word.
QString tst_DownloadThreadTexts::message(const QByteArray &answer, const QString &path) const
{
    const ContextTranslator translator;
    const ScriptedServer server(ScriptedServer::always(answer));
    const WorkerRun run(server.url(QStringLiteral("/")), *m_folders, {RecordOf(path, "1")});
    return run.worker.errormsg();
}

void tst_DownloadThreadTexts::message_ofADownload_isInTheClasssContext_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("text");
    QTest::newRow("success") << Answer << QStringLiteral("更新成功");
    QTest::newRow("status") << ScriptedServer::answer("404 No", "1")
                            << QStringLiteral("下载更新文件file网络错误");
    QTest::newRow("size") << ScriptedServer::answer("200 OK", "12")
                          << QStringLiteral("下载更新文件file大小不对(预期1，实际2)");
    QTest::newRow("MD5") << ScriptedServer::answer("200 OK", "2")
                         << QStringLiteral("更新文件file校验不对");
}

void tst_DownloadThreadTexts::message_ofADownload_isInTheClasssContext()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, text);
    QCOMPARE(message(answer), QStringLiteral("[CDownloadThread]") + text);
}

void tst_DownloadThreadTexts::message_ofTheStaging_isInTheClasssContext()
{
    // Nobody can open a link into a folder that is missing, root included.
    const QString path = m_folders->stagingPath(QStringLiteral("file"));
    QVERIFY(QFile::link(QStringLiteral("/nowhere/at all"), path));
    QCOMPARE(message(Answer), QStringLiteral("[CDownloadThread]更新文件file写入失败"));

    QVERIFY(QFile::remove(path) && QDir().mkdir(path));
    m_folders->letAnyoneWrite();
    QVERIFY(QFile::setPermissions(m_folders->staging.path(), QFile::Permissions(0x5055)));
    const OrdinaryUser user;
    QCOMPARE(message(Answer), QStringLiteral("[CDownloadThread]路径%1被占用，无法删除!").arg(path));
}

void tst_DownloadThreadTexts::message_ofTheApply_isInTheClasssContext_data()
{
    const QString longest(255, QLatin1Char('x')); // so that nothing fits behind it
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("text"); // %1 is the installation
    QTest::newRow("stale copy that is a folder")
        << QStringLiteral("kept") << QStringLiteral("删除文件kept.old失败");
    QTest::newRow("a file in place of the folder")
        << QStringLiteral("taken/file") << QStringLiteral("创建目录%1/taken失败");
    QTest::newRow("too long a name")
        << longest
        << QStringLiteral("重命名%1/%2为%1/%2.old失败").arg(QStringLiteral("%1"), longest);
    QTest::newRow("link to nowhere")
        << QStringLiteral("link") << QStringLiteral("覆盖文件link失败");
}

void tst_DownloadThreadTexts::message_ofTheApply_isInTheClasssContext()
{
    QFETCH(QString, path);
    QFETCH(QString, text);
    const QDir install = m_folders->install;
    for (const char *name : {"kept", "taken"}) {
        WriteFile(install.filePath(QLatin1String(name)), "0");
    }
    WriteFile(install.filePath(QString(255, QLatin1Char('x'))), "0");
    QVERIFY(install.mkdir(QStringLiteral("kept.old")));
    QVERIFY(
        QFile::link(QStringLiteral("/nowhere/at all"), install.filePath(QStringLiteral("link"))));
    QCOMPARE(message(Answer, path), QStringLiteral("[CDownloadThread]") +
                                        text.replace(QLatin1String("%1"), install.path()));
}

QTEST_GUILESS_MAIN(tst_DownloadThreadTexts)
#include "tst_downloadthread_texts.moc"

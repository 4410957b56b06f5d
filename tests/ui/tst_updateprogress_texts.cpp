// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"
#include "tests/support/ContextTranslator.h"
#include "ui/UpdateProgress.h"

#include <QLabel>
#include <QPushButton>
#include <QScopeGuard>
#include <QtTest>

class tst_UpdateProgressTexts : public QObject {
    Q_OBJECT

private slots:
    static void texts_formAndFile_areInTheFormsContext();
};

void tst_UpdateProgressTexts::texts_formAndFile_areInTheFormsContext()
{
    const ContextTranslator translator;
    const UpdateFolders folders;
    const ScriptedServer server(
        [](ScriptedConnection &connection, const QByteArray &) { connection.hang(); });
    CDownloadThread worker(server.url(QStringLiteral("/")), folders.staging, folders.install,
                           {RecordOf(QStringLiteral("file"), "content")});
    CUpdateProgress dialog(worker);
    const auto end = qScopeGuard([&worker] {
        worker.quit();
        worker.wait();
    });
    const QString form = QStringLiteral("[CUpdateProgress]");
    QCOMPARE(dialog.findChild<QLabel *>("label")->text(), form + "正在更新");
    QCOMPARE(dialog.findChild<QPushButton *>("cancel")->text(), form + "取消");
    const auto *desc = dialog.findChild<QLabel *>("desc");
    QCOMPARE(desc->text(), form + "正在下载更新文件");

    dialog.downloadStarted(QFileInfo(folders.stagingPath(QStringLiteral("one"))), 0, 1);
    QCOMPARE(desc->text(), form + "正在下载更新文件one");
    // The worker's message is shown as it is.
    dialog.downloadFail(QFileInfo(), QStringLiteral("the message"));
    QCOMPARE(desc->text(), QStringLiteral("the message"));
}

QTEST_MAIN(tst_UpdateProgressTexts)
#include "tst_updateprogress_texts.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"
#include "ui/UpdateProgress.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <atomic>

/// The dialog run over real transfers.
class tst_UpdateProgressRun : public QObject {
    Q_OBJECT

private slots:
    void init();
    void run_goodUpdate_accepts();
    void run_badAnswer_acceptsAndTheWorkerTells_data();
    void run_badAnswer_acceptsAndTheWorkerTells();
    void run_refusedConnection_doesNotCrash();
    void run_emptyFile_doesNotCrash();
    void run_slowTransfer_movesTheBars();
    void run_cancel_acceptsAndTheTransferStays();
    void run_escape_rejectsAndLeavesTheWorker();
    void run_failure_isShown();
    void accept_threadFinished_isCalledOnTheMainThread();

private:
    /// Runs the dialog over a worker for \a records; what it returned.
    int run(const QString &url, const QList<tagDownloadFileInfo> &records);

    QScopedPointer<UpdateFolders> m_folders;
    QString m_message;
    bool m_success = false;
    std::function<void(CUpdateProgress &, CDownloadThread &)> m_meanwhile;
};

void tst_UpdateProgressRun::init()
{
    m_folders.reset(new UpdateFolders);
    m_meanwhile = nullptr;
}

int tst_UpdateProgressRun::run(const QString &url, const QList<tagDownloadFileInfo> &records)
{
    CDownloadThread worker(url, m_folders->staging, m_folders->install, records);
    CUpdateProgress dialog(worker);
    QTimer::singleShot(20000, &dialog, [] { qFatal("The dialog did not end."); });
    if (m_meanwhile) {
        QTimer::singleShot(0, &dialog, [&] { m_meanwhile(dialog, worker); });
    }
    const int result = dialog.exec();
    m_success = worker.success();
    m_message = worker.errormsg();
    worker.quit();
    worker.wait();
    return result;
}

void tst_UpdateProgressRun::run_goodUpdate_accepts()
{
    const FileMap release{{QStringLiteral("a"), "a"}, {QStringLiteral("b/c"), "c"}};
    const ScriptedServer server(ServeFiles(release));
    QCOMPARE(run(server.url(QStringLiteral("/")),
                 {RecordOf(QStringLiteral("a"), "a"), RecordOf(QStringLiteral("b/c"), "c")}),
             static_cast<int>(QDialog::Accepted));
    QVERIFY(m_success);
    QCOMPARE(ReadTree(m_folders->install), release);
}

void tst_UpdateProgressRun::run_badAnswer_acceptsAndTheWorkerTells_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("text");
    QTest::newRow("404") << ScriptedServer::answer("404 Not Found", "gone")
                         << QStringLiteral("下载更新文件file网络错误");
    QTest::newRow("empty 404") << ScriptedServer::answer("404 Not Found", "")
                               << QStringLiteral("下载更新文件file网络错误");
    QTest::newRow("empty body") << ScriptedServer::answer("200 OK", "")
                                << QStringLiteral("下载更新文件file大小不对(预期7，实际0)");
    QTest::newRow("nothing at all") << QByteArray() << QStringLiteral("下载更新文件file网络错误");
}

void tst_UpdateProgressRun::run_badAnswer_acceptsAndTheWorkerTells()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, text);
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        connection.send(answer);
        connection.close();
    });
    QCOMPARE(run(server.url(QStringLiteral("/")), {RecordOf(QStringLiteral("file"), "content")}),
             static_cast<int>(QDialog::Accepted));
    QVERIFY(!m_success);
    QCOMPARE(m_message, text);
}

void tst_UpdateProgressRun::run_refusedConnection_doesNotCrash()
{
    QString url;
    {
        const ScriptedServer gone(ServeFiles({}));
        url = gone.url(QStringLiteral("/"));
    }
    QCOMPARE(run(url, {RecordOf(QStringLiteral("file"), "content")}),
             static_cast<int>(QDialog::Accepted));
    QCOMPARE(m_message, QStringLiteral("下载更新文件file网络错误"));
}

void tst_UpdateProgressRun::run_emptyFile_doesNotCrash()
{
    const ScriptedServer server(ServeFiles({{QStringLiteral("empty"), ""}}));
    QCOMPARE(run(server.url(QStringLiteral("/")), {RecordOf(QStringLiteral("empty"), "")}),
             static_cast<int>(QDialog::Accepted));
    QVERIFY(m_success);
}

void tst_UpdateProgressRun::run_slowTransfer_movesTheBars()
{
    const QByteArray body(1000, 'x');
    std::atomic<int> allowed{0};
    std::atomic<bool> first{true};
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n");
        if (first.exchange(false)) {
            connection.send(body);
            return;
        }
        for (int sent = 0; sent < 1000; sent += 250) {
            while (allowed <= sent) {
                connection.pause(10);
            }
            connection.pause(150); // the network layer reports progress every 100 ms at most
            connection.send(body.left(250));
        }
    });
    bool watched = false;
    m_meanwhile = [&](CUpdateProgress &dialog, CDownloadThread &) {
        auto *total = dialog.findChild<QProgressBar *>(QStringLiteral("total"));
        auto *progress = dialog.findChild<QProgressBar *>(QStringLiteral("progress"));
        auto *desc = dialog.findChild<QLabel *>(QStringLiteral("desc"));
        QTRY_COMPARE(desc->text(), QStringLiteral("正在下载更新文件two.bin"));
        QCOMPARE(total->value(), 50);
        QCOMPARE(progress->value(), 0);
        for (const int arrived : {250, 500, 750}) {
            allowed = arrived;
            QTRY_COMPARE(progress->value(), arrived / 10);
        }
        QCOMPARE(total->value(), 50);
        QVERIFY(dialog.isVisible());
        watched = true;
        allowed = 1000;
    };
    QCOMPARE(run(server.url(QStringLiteral("/")), {RecordOf(QStringLiteral("one.bin"), body),
                                                   RecordOf(QStringLiteral("d/two.bin"), body)}),
             static_cast<int>(QDialog::Accepted));
    QVERIFY(watched);
    QVERIFY(m_success);
}

void tst_UpdateProgressRun::run_cancel_acceptsAndTheTransferStays()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\n");
        connection.pause(150); // the network layer reports progress every 100 ms at most
        connection.send("con");
        connection.hang();
    });
    m_meanwhile = [&](CUpdateProgress &dialog, CDownloadThread &worker) {
        auto *progress = dialog.findChild<QProgressBar *>(QStringLiteral("progress"));
        QTRY_COMPARE(progress->value(), 42);
        QVERIFY(worker.isRunning());
        QTest::mouseClick(dialog.findChild<QPushButton *>(QStringLiteral("cancel")),
                          Qt::LeftButton);
        QVERIFY(dialog.isVisible()); // until the thread has reported its end
    };
    QCOMPARE(run(server.url(QStringLiteral("/")), {RecordOf(QStringLiteral("file"), "content")}),
             static_cast<int>(QDialog::Accepted));
    QVERIFY(!m_success);
    QCOMPARE(m_message, QString());
    QVERIFY(ReadTree(m_folders->staging).isEmpty());
}

void tst_UpdateProgressRun::run_escape_rejectsAndLeavesTheWorker()
{
    const ScriptedServer server(
        [](ScriptedConnection &connection, const QByteArray &) { connection.hang(); });
    CDownloadThread worker(server.url(QStringLiteral("/")), m_folders->staging, m_folders->install,
                           {RecordOf(QStringLiteral("file"), "content")});
    CUpdateProgress dialog(worker);
    QTimer::singleShot(0, &dialog, [&dialog] { QTest::keyClick(&dialog, Qt::Key_Escape); });
    QCOMPARE(dialog.exec(), static_cast<int>(QDialog::Rejected));
    QVERIFY(worker.isRunning());
    worker.quit();
    QVERIFY(worker.wait(5000));
}

void tst_UpdateProgressRun::run_failure_isShown()
{
    std::atomic<bool> watched{false};
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        while (!watched) {
            connection.pause(2);
        }
        connection.send(ScriptedServer::answer("404 Not Found", ""));
    });
    QString shown;
    bool visible = false;
    m_meanwhile = [&](CUpdateProgress &dialog, CDownloadThread &worker) {
        connect(&worker, &CDownloadThread::downloadFail, &dialog, [&] {
            shown = dialog.findChild<QLabel *>(QStringLiteral("desc"))->text();
            visible = dialog.isVisible();
        });
        watched = true;
    };
    QCOMPARE(run(server.url(QStringLiteral("/")), {RecordOf(QStringLiteral("file"), "content")}),
             static_cast<int>(QDialog::Accepted));
    QCOMPARE(shown, QStringLiteral("下载更新文件file网络错误"));
    QVERIFY(visible);
}

void tst_UpdateProgressRun::accept_threadFinished_isCalledOnTheMainThread()
{
    struct Watched : CUpdateProgress {
        using CUpdateProgress::CUpdateProgress;
        void accept() override
        {
            caller = QThread::currentThread();
            CUpdateProgress::accept();
        }
        std::atomic<QThread *> caller{nullptr};
    };
    const ScriptedServer server(
        [](ScriptedConnection &connection, const QByteArray &) { connection.hang(); });
    CDownloadThread worker(server.url(QStringLiteral("/")), m_folders->staging, m_folders->install,
                           {RecordOf(QStringLiteral("file"), "content")});
    Watched dialog(worker);
    worker.quit();
    QVERIFY(worker.wait(5000));
    QVERIFY(!dialog.caller); // it comes as an event
    QTRY_COMPARE(dialog.caller.load(), QThread::currentThread());
}

QTEST_MAIN(tst_UpdateProgressRun)
#include "tst_updateprogress_run.moc"

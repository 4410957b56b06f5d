// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"

#include <QNetworkReply>
#include <QtTest>

#include <cstring>

namespace {

QStringList Events;
QList<QNetworkRequest> Requests;
CDownloadThread *Worker = nullptr;

/// What a listener can ask the worker at this moment.
QString Outcome()
{
    return Worker ? QStringLiteral(" (%1, \"%2\")")
                        .arg(Worker->success() ? QStringLiteral("success")
                                               : QStringLiteral("no success"),
                             Worker->errormsg())
                  : QString();
}

/// A reply that answers when the test says so.
class PuppetReply : public QNetworkReply {
public:
    explicit PuppetReply(QObject *parent) : QNetworkReply(parent) { open(ReadOnly); }

    void answer(int status, const QByteArray &body)
    {
        m_rest = body;
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, status);
        emit downloadProgress(body.size(), body.size());
        Events << QStringLiteral("progress was told");
        setFinished(true);
        emit finished();
        Events << QStringLiteral("finished was told");
    }
    void abort() override {}
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        return m_rest.size() + QNetworkReply::bytesAvailable();
    }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        const QByteArray piece = m_rest.left(static_cast<int>(maxSize));
        std::memcpy(data, piece.constData(), static_cast<std::size_t>(piece.size()));
        m_rest.remove(0, piece.size());
        return piece.isEmpty() ? -1 : piece.size();
    }

private:
    QByteArray m_rest;
};

QPointer<PuppetReply> LastReply;

} // namespace

// Stand in for the toolkit's functions in this program.
QNetworkReply *QNetworkAccessManager::get(const QNetworkRequest &request)
{
    Events << QStringLiteral("get ") + request.url().fileName();
    Requests << request;
    LastReply = new PuppetReply(this);
    return LastReply;
}

void QThread::quit()
{
    if (qobject_cast<CDownloadThread *>(this)) { // Qt has its own threads
        Events << QStringLiteral("quit") + Outcome();
    }
    exit();
}

/// The order in which the worker does its steps, and that it needs no event loop of its own for
/// them.
class tst_DownloadThreadOrder : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void request_hasNothingOfItsOwn();
    void files_areHandledInOneCallEach();
    void failure_ofADownload_isToldBeforeTheEnd_data();
    void failure_ofADownload_isToldBeforeTheEnd();
    void failure_ofTheApply_isToldBeforeTheEnd();
    void destructor_threadNeverStarted_quitsNothing();
    void destructor_threadRunning_isNotWaitedFor();

private:
    void construct(const QList<tagDownloadFileInfo> &files);

    QScopedPointer<UpdateFolders> m_folders;
    QScopedPointer<CDownloadThread> m_worker;
};

void tst_DownloadThreadOrder::init()
{
    m_folders.reset(new UpdateFolders);
    Requests.clear();
}

void tst_DownloadThreadOrder::cleanup()
{
    Worker = nullptr;
    m_worker.reset();
    Events.clear();
}

void tst_DownloadThreadOrder::construct(const QList<tagDownloadFileInfo> &files)
{
    m_worker.reset(new CDownloadThread(QStringLiteral("http://127.0.0.1/"), m_folders->staging,
                                       m_folders->install, files));
    Worker = m_worker.data();
    const auto listen = [](const QString &what) { Events << what + Outcome(); };
    connect(Worker, &CDownloadThread::downloadStarted, Worker, [listen](const QFileInfo &file) {
        listen(QStringLiteral("started ") + file.fileName());
    });
    connect(Worker, &CDownloadThread::downloadProgress, Worker,
            [listen](int64_t received) { listen(QStringLiteral("progress %1").arg(received)); });
    connect(Worker, &CDownloadThread::downloadFail, Worker,
            [listen](const QFileInfo &, const QString &text) {
                listen(QStringLiteral("failed ") + text);
            });
}

void tst_DownloadThreadOrder::request_hasNothingOfItsOwn()
{
    construct({RecordOf(QStringLiteral("one"), "1")});
    const QNetworkRequest request = Requests.value(0);
    QCOMPARE(request.url(), QUrl(QStringLiteral("http://127.0.0.1/one")));
    QCOMPARE(request.rawHeaderList(), QList<QByteArray>());
    QCOMPARE(request.transferTimeout(), 0);
    QCOMPARE(request.attribute(QNetworkRequest::Http2AllowedAttribute).toBool(), false);
}

void tst_DownloadThreadOrder::files_areHandledInOneCallEach()
{
    construct({RecordOf(QStringLiteral("one"), "1"), RecordOf(QStringLiteral("two"), "22")});
    LastReply->answer(200, "1");
    LastReply->answer(200, "22");
    const QString busy = QStringLiteral(" (no success, \"\")");
    QCOMPARE(Events, QStringList({
                         QStringLiteral("get one"), // nobody can hear that it is started
                         QStringLiteral("progress 1") + busy,
                         QStringLiteral("progress was told"),
                         QStringLiteral("started two") + busy,
                         QStringLiteral("get two"),
                         QStringLiteral("finished was told"),
                         QStringLiteral("progress 2") + busy,
                         QStringLiteral("progress was told"),
                         QStringLiteral("quit (success, \"更新成功\")"),
                         QStringLiteral("finished was told"),
                     }));
}

void tst_DownloadThreadOrder::failure_ofADownload_isToldBeforeTheEnd_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    QTest::newRow("status") << 404 << QByteArray("1") << QStringLiteral("下载更新文件one网络错误");
    QTest::newRow("size") << 200 << QByteArray("12")
                          << QStringLiteral("下载更新文件one大小不对(预期1，实际2)");
    QTest::newRow("MD5") << 200 << QByteArray("2") << QStringLiteral("更新文件one校验不对");
}

void tst_DownloadThreadOrder::failure_ofADownload_isToldBeforeTheEnd()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, text);
    construct({RecordOf(QStringLiteral("one"), "1"), RecordOf(QStringLiteral("two"), "22")});
    LastReply->answer(status, body);
    const QString outcome = QStringLiteral(" (no success, \"%1\")").arg(text);
    QCOMPARE(Events.mid(3),
             QStringList({QStringLiteral("failed ") + text + outcome,
                          QStringLiteral("quit") + outcome, QStringLiteral("finished was told")}));
}

void tst_DownloadThreadOrder::failure_ofTheApply_isToldBeforeTheEnd()
{
    construct({RecordOf(QStringLiteral("one"), "1")});
    QVERIFY(QDir().mkpath(m_folders->installPath(QStringLiteral("one.old"))));
    WriteFile(m_folders->installPath(QStringLiteral("one")), "0");
    LastReply->answer(200, "1");
    const QString text = QStringLiteral("删除文件one.old失败");
    const QString outcome = QStringLiteral(" (no success, \"%1\")").arg(text);
    QCOMPARE(Events.mid(3),
             QStringList({QStringLiteral("failed ") + text + outcome,
                          QStringLiteral("quit") + outcome, QStringLiteral("finished was told")}));
}

void tst_DownloadThreadOrder::destructor_threadNeverStarted_quitsNothing()
{
    construct({RecordOf(QStringLiteral("one"), "1")});
    const QStringList before = Events;
    m_worker.reset();
    QCOMPARE(Events, before);
}

// The owner must end the thread; the toolkit aborts a program that forgets to.
void tst_DownloadThreadOrder::destructor_threadRunning_isNotWaitedFor()
{
    QProcess program;
    program.start(QStringLiteral(DESTROY_RUNNING),
                  {m_folders->staging.path(), m_folders->install.path()});
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitStatus(), QProcess::CrashExit);
    QVERIFY(program.readAllStandardError().contains("Destroyed while thread is still running"));
}

QTEST_GUILESS_MAIN(tst_DownloadThreadOrder)
#include "tst_downloadthread_order.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"

#include <QMetaMethod>
#include <QMetaType>
#include <QtTest>

/// The worker's downloads when nothing fails.
class tst_DownloadThread : public QObject {
    Q_OBJECT

private slots:
    void init();
    void metaObject_members_areThreeSignals();
    void metaTypes_ofTheSignals_areRegistered();
    void construction_emptyList_succeedsAtOnce();
    void construction_firstFile_isRequestedAtOnce();
    void download_files_areFetchedInOrderAndApplied_data();
    void download_files_areFetchedInOrderAndApplied();
    void download_names_areSentAsUtf8_data();
    void download_names_areSentAsUtf8();
    void download_url_isJoinedWithoutSeparator();
    void download_request_hasNoHeadersOfItsOwn();
    void download_emptyBody_passes();
    void download_slowBody_isRelayed();
    void download_lengthUntold_isRelayedAsMinusOne();
    void download_worker_runsOnItsOwnersThread();
    void quit_duringTheTransfer_endsTheThreadOnly();

private:
    QScopedPointer<UpdateFolders> m_folders;
};

void tst_DownloadThread::init()
{
    m_folders.reset(new UpdateFolders);
}

void tst_DownloadThread::metaObject_members_areThreeSignals()
{
    const QMetaObject &meta = CDownloadThread::staticMetaObject;
    QCOMPARE(meta.className(), "CDownloadThread");
    QCOMPARE(meta.superClass(), &QThread::staticMetaObject);
    QStringList members;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        QCOMPARE(method.methodType(), QMetaMethod::Signal);
        members << QString::fromLatin1(method.methodSignature() + ' ' +
                                       method.parameterNames().join(' '));
    }
    const QStringList expected{
        QStringLiteral("downloadStarted(QFileInfo,int,int) filename current total"),
        QStringLiteral("downloadProgress(int64_t,int64_t) bytesReceived bytesTotal"),
        QStringLiteral("downloadFail(QFileInfo,QString) filename errormsg")};
    QCOMPARE(members, expected);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
}

void tst_DownloadThread::metaTypes_ofTheSignals_areRegistered()
{
    const CDownloadThread worker({}, m_folders->staging, m_folders->install, {});
    // By name first: asking for the id of a type registers it.
    const int int64 = QMetaType::type("int64_t");
    QVERIFY(int64 != QMetaType::UnknownType);
    const QMetaObject &meta = CDownloadThread::staticMetaObject;
    const int fileInfo = meta.method(meta.methodOffset()).parameterType(0);
    QVERIFY(fileInfo != QMetaType::UnknownType);
    QCOMPARE(QMetaType::type("QFileInfo"), fileInfo);
    QCOMPARE(meta.method(meta.methodOffset() + 1).parameterType(0), int64);
    QCOMPARE(meta.method(meta.methodOffset() + 2).parameterType(0), fileInfo);
}

void tst_DownloadThread::construction_emptyList_succeedsAtOnce()
{
    CDownloadThread worker(QStringLiteral("http://127.0.0.1:9/"), m_folders->staging,
                           m_folders->install, {});
    QVERIFY(worker.success());
    QCOMPARE(worker.errormsg(), QStringLiteral("更新成功"));
    QVERIFY(!worker.isRunning());
    QVERIFY(!worker.isFinished());
    QVERIFY(ReadTree(m_folders->install).isEmpty());
}

void tst_DownloadThread::construction_firstFile_isRequestedAtOnce()
{
    const ReplyWatch watch;
    const ScriptedServer server(ServeFiles({}));
    {
        CDownloadThread worker(server.url(QStringLiteral("/")), m_folders->staging,
                               m_folders->install, {RecordOf(QStringLiteral("a"), "1")});
        QCOMPARE(watch.alive(), 1);
        QVERIFY(!worker.success());
        QCOMPARE(worker.errormsg(), QString());
    }
    QCOMPARE(watch.alive(), 0); // the reply goes with the worker's manager
}

void tst_DownloadThread::download_files_areFetchedInOrderAndApplied_data()
{
    QTest::addColumn<bool>("keepAlive");
    QTest::newRow("connection kept") << true;
    QTest::newRow("connection closed after each file") << false;
}

void tst_DownloadThread::download_files_areFetchedInOrderAndApplied()
{
    QFETCH(bool, keepAlive);
    const FileMap release{{QStringLiteral("one"), "1"},
                          {QStringLiteral("a/b/two"), QByteArray(300000, '2')},
                          {QStringLiteral("three.bin"), QByteArray("3\0\r\n3", 5)}};
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
        ServeFiles(release)(connection, request);
        if (!keepAlive) {
            connection.close();
        }
    });
    QList<tagDownloadFileInfo> records; // not in the order of their paths
    for (const char *path : {"three.bin", "one", "a/b/two"}) {
        records << RecordOf(QLatin1String(path), release.value(QLatin1String(path)));
    }
    const ReplyWatch watch;

    WorkerRun run(server.url(QStringLiteral("/")), *m_folders, records);

    QVERIFY(run.ended);
    QVERIFY(run.worker.success());
    QCOMPARE(run.worker.errormsg(), QStringLiteral("更新成功"));
    QCOMPARE(run.failed.size(), 0);
    QCOMPARE(ReadTree(m_folders->install), release);
    QVERIFY(ReadTree(m_folders->staging).isEmpty());
    QCOMPARE(server.connections(), keepAlive ? 1 : 3);

    QCOMPARE(run.started.size(), 2); // nobody can hear of the first file
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(RequestedPath(server.requests().at(i)), QLatin1Char('/') + records.at(i).path);
    }
    for (int i = 1; i < 3; ++i) {
        const QList<QVariant> started = run.started.at(i - 1);
        const QString path = m_folders->stagingPath(records.at(i).path);
        QCOMPARE(started.at(0).value<QFileInfo>().absoluteFilePath(), path);
        QCOMPARE(started.at(1).toInt(), i);
        QCOMPARE(started.at(2).toInt(), 3);
    }
    QTRY_COMPARE(watch.alive(), 0);
    QCOMPARE(watch.released(), 3);
}

void tst_DownloadThread::download_names_areSentAsUtf8_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("path");
    QTest::newRow("blanks") << QStringLiteral("/the base/") << QStringLiteral("a b/c d.txt");
    QTest::newRow("Chinese") << QStringLiteral("/更新/") << QStringLiteral("资源/图标.png");
    QTest::newRow("composed") << QStringLiteral("/") << QStringLiteral("caf\u00E9.txt");
    QTest::newRow("decomposed") << QStringLiteral("/") << QStringLiteral("cafe\u0301.txt");
    QTest::newRow("signs that may stand in a path")
        << QStringLiteral("/") << QStringLiteral("a+b&c=d;e,f'(g)!~$@[1]{2}^`|\"<>.txt");
}

void tst_DownloadThread::download_names_areSentAsUtf8()
{
    QFETCH(QString, base);
    QFETCH(QString, path);
    const ScriptedServer server(ServeFiles({{base.mid(1) + path, "content"}}));

    WorkerRun run(server.url(base), *m_folders, {RecordOf(path, "content")});

    QCOMPARE(run.worker.errormsg(), QStringLiteral("更新成功"));
    QCOMPARE(ReadFile(m_folders->installPath(path)), QByteArray("content"));
}

void tst_DownloadThread::download_url_isJoinedWithoutSeparator()
{
    const ScriptedServer server(ServeFiles({{QStringLiteral("basefile"), "content"}}));
    WorkerRun run(server.url(QStringLiteral("/base")), *m_folders,
                  {RecordOf(QStringLiteral("file"), "content")});
    QVERIFY(run.worker.success());
    QCOMPARE(RequestedPath(server.requests().first()), QStringLiteral("/basefile"));
}

void tst_DownloadThread::download_request_hasNoHeadersOfItsOwn()
{
    const ScriptedServer server(ServeFiles({{QStringLiteral("file"), "content"}}));
    WorkerRun run(server.url(QStringLiteral("/")), *m_folders,
                  {RecordOf(QStringLiteral("file"), "content")});
    QVERIFY(run.worker.success());

    const QByteArray request = server.requests().first();
    QVERIFY(request.startsWith("GET /file HTTP/1.1\r\n"));
    QStringList names; // what the network layer itself sends with any request
    const QList<QByteArray> lines = request.trimmed().split('\n').mid(1);
    for (const QByteArray &line : lines) {
        names << QString::fromLatin1(line.left(line.indexOf(':')));
    }
    names.sort();
    QCOMPARE(names, QStringList({QStringLiteral("Accept-Encoding"),
                                 QStringLiteral("Accept-Language"), QStringLiteral("Connection"),
                                 QStringLiteral("Host"), QStringLiteral("User-Agent")}));
}

void tst_DownloadThread::download_emptyBody_passes()
{
    const ScriptedServer server(ServeFiles({{QStringLiteral("empty"), ""}}));
    WorkerRun run(server.url(QStringLiteral("/")), *m_folders,
                  {RecordOf(QStringLiteral("empty"), "")});
    QVERIFY(run.worker.success());
    QCOMPARE(ReadFile(m_folders->installPath(QStringLiteral("empty"))), QByteArray(""));
}

void tst_DownloadThread::download_slowBody_isRelayed()
{
    const QByteArray body(4096, 'x');
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 4096\r\n\r\n");
        for (int i = 0; i < 4; ++i) {
            connection.send(body.left(1024));
            connection.pause(150); // the network layer reports progress every 100 ms
        }
    });
    WorkerRun run(server.url(QStringLiteral("/")), *m_folders,
                  {RecordOf(QStringLiteral("slow"), body)});
    QVERIFY(run.worker.success());
    QVERIFY2(run.progress.size() >= 3, qPrintable(QString::number(run.progress.size())));
    qint64 before = 0;
    for (const QList<QVariant> &step : qAsConst(run.progress)) {
        QVERIFY(step.at(0).toLongLong() >= before);
        QCOMPARE(step.at(1).toLongLong(), 4096LL);
        before = step.at(0).toLongLong();
    }
    QCOMPARE(before, 4096LL);
}

void tst_DownloadThread::download_lengthUntold_isRelayedAsMinusOne()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 200 OK\r\n\r\nhalf");
        connection.pause(150);
        connection.send(" and half");
        connection.close();
    });
    WorkerRun run(server.url(QStringLiteral("/")), *m_folders,
                  {RecordOf(QStringLiteral("file"), "half and half")});
    QVERIFY(run.worker.success());
    QVERIFY(!run.progress.isEmpty());
    QCOMPARE(run.progress.first().at(1).toLongLong(), -1LL);
}

void tst_DownloadThread::download_worker_runsOnItsOwnersThread()
{
    const ScriptedServer server(ServeFiles({{QStringLiteral("file"), "content"}}));
    CDownloadThread worker(server.url(QStringLiteral("/")), m_folders->staging, m_folders->install,
                           {RecordOf(QStringLiteral("file"), "content")});
    QThread *thread = nullptr;
    connect(
        &worker, &CDownloadThread::downloadProgress, &worker,
        [&thread] { thread = QThread::currentThread(); }, Qt::DirectConnection);
    // Its own thread is not even needed for the work.
    QTRY_VERIFY(worker.success());
    QCOMPARE(thread, QThread::currentThread());
    QVERIFY(!worker.isRunning());
}

void tst_DownloadThread::quit_duringTheTransfer_endsTheThreadOnly()
{
    std::atomic<bool> goOn{false};
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\ncon");
        while (!goOn) {
            connection.pause(10);
        }
        connection.send("tent");
    });
    CDownloadThread worker(server.url(QStringLiteral("/")), m_folders->staging, m_folders->install,
                           {RecordOf(QStringLiteral("file"), "content")});
    worker.start();
    QTRY_COMPARE(server.requests().size(), 1);
    worker.quit();
    QVERIFY(worker.wait(5000));
    QVERIFY(!worker.success());
    QCOMPARE(worker.errormsg(), QString());

    goOn = true; // the work is tied to this thread's event loop and continues
    QTRY_VERIFY(worker.success());
}

QTEST_GUILESS_MAIN(tst_DownloadThread)
#include "tst_downloadthread.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/WorkerProcess.h"
#include "tests/support/FaultyAnswers.h"

#include <QtTest>

#include <memory>
#include <vector>

namespace {

constexpr int SessionPatienceMs = 15000;
constexpr int DeadlineMs = 60000;
constexpr double AllowedMebibytes = 400; // twice the body

const QByteArray Content = QByteArray("0123456789").repeated(400);
const QString Success = QStringLiteral("更新成功");

/// A worker and the answer that keeps it waiting.
struct Waiting {
    FaultyAnswer answer;
    std::unique_ptr<UpdateFolders> folders;
    std::unique_ptr<WorkerProcess> worker;
};

} // namespace

/// Faults that take a worker long or much memory.
class tst_DownloadThreadLongFaults : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void answer_withoutEnd_isWaitedForUntilTheServerGoes_data();
    void answer_withoutEnd_isWaitedForUntilTheServerGoes();
    void answer_ofAByteASecond_arrivesWhole();
    void answer_gzipOf200MB_isUnpackedInMemory();

private:
    std::unique_ptr<ScriptedServer> m_server;
    std::vector<Waiting> m_waiting; // each asks for the file that its place names
    bool m_oneEndedByItself = false;
};

/// Lets all of them wait at the same time.
void tst_DownloadThreadLongFaults::initTestCase()
{
    for (const FaultyAnswer &answer : FaultyAnswers(Content)) {
        if (answer.waits && answer.quick < 0) {
            m_waiting.push_back({answer, std::make_unique<UpdateFolders>(), nullptr});
        }
    }
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &request) {
            Give(m_waiting.at(RequestedPath(request).mid(1).toUInt()).answer, connection);
        });
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        Waiting &waiting = m_waiting[i];
        const QString path = QString::number(i);
        waiting.worker =
            std::make_unique<WorkerProcess>(m_server->url(QStringLiteral("/")), *waiting.folders,
                                            QList<tagDownloadFileInfo>{RecordOf(path, Content)});
    }
    const int count = static_cast<int>(m_waiting.size());
    QTRY_COMPARE(m_server->requests().size(), count);
    m_oneEndedByItself = QTest::qWaitFor(
        [this] {
            return std::any_of(m_waiting.cbegin(), m_waiting.cend(),
                               [](const Waiting &waiting) { return !waiting.worker->isRunning(); });
        },
        SessionPatienceMs + 1000);
    for (const Waiting &waiting : m_waiting) {
        QVERIFY(ReadTree(waiting.folders->staging).isEmpty());
    }
    m_server.reset();
}

void tst_DownloadThreadLongFaults::answer_withoutEnd_isWaitedForUntilTheServerGoes_data()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Waiting &waiting : m_waiting) {
        QTest::newRow(qPrintable(waiting.answer.name)) << index++;
    }
}

void tst_DownloadThreadLongFaults::answer_withoutEnd_isWaitedForUntilTheServerGoes()
{
    QFETCH(int, index);
    QVERIFY(!m_oneEndedByItself);
    const Waiting &waiting = m_waiting.at(static_cast<std::size_t>(index));
    const QByteArray &arrives = waiting.answer.arrives;
    const QString path = QString::number(index);
    QString expected = QStringLiteral("下载更新文件%1网络错误").arg(path);
    if (!arrives.isNull()) {
        expected = arrives == Content ? Success
                                      : QStringLiteral("下载更新文件%1大小不对(预期4000，实际%2)")
                                            .arg(path, QString::number(arrives.size()));
    }
    QCOMPARE(waiting.worker->end(DeadlineMs), expected);
    waiting.worker->report(waiting.answer.name);
    QVERIFY(ReadTree(waiting.folders->staging).isEmpty());
    QCOMPARE(ReadTree(waiting.folders->install),
             expected == Success ? FileMap({{path, Content}}) : FileMap());
}

void tst_DownloadThreadLongFaults::answer_ofAByteASecond_arrivesWhole()
{
    FaultyAnswer answer;
    answer.bytes = "HTTP/1.0 200 \r\n\r\nabc";
    answer.quick = 0;
    const ScriptedServer server(
        [&](ScriptedConnection &connection, const QByteArray &) { Give(answer, connection); });
    const UpdateFolders folders;
    WorkerProcess worker(server.url(QStringLiteral("/")), folders,
                         {RecordOf(QStringLiteral("file"), "abc")});
    QCOMPARE(worker.end(DeadlineMs), Success);
    worker.report(QStringLiteral("a byte a second"));
    QVERIFY(worker.lifetime() > SessionPatienceMs);
    QCOMPARE(ReadTree(folders.install), FileMap({{QStringLiteral("file"), "abc"}}));
}

void tst_DownloadThreadLongFaults::answer_gzipOf200MB_isUnpackedInMemory()
{
    const QByteArray body(200 * 1000 * 1000, ' ');
    const FaultyAnswer answer = GzipAnswer(body);
    const ScriptedServer server(
        [&](ScriptedConnection &connection, const QByteArray &) { Give(answer, connection); });
    const UpdateFolders folders;
    WorkerProcess worker(server.url(QStringLiteral("/")), folders,
                         {RecordOf(QStringLiteral("file"), body)});
    QCOMPARE(worker.end(DeadlineMs), Success);
    worker.report(QStringLiteral("%1 bytes of gzip that hold 200 MB").arg(answer.bytes.size()));
    QCOMPARE(QFileInfo(folders.installPath(QStringLiteral("file"))).size(), qint64{body.size()});
    QVERIFY(!PeakMemory::isComparable() || worker.peakMebibytes() < AllowedMebibytes);
}

QTEST_GUILESS_MAIN(tst_DownloadThreadLongFaults)
#include "tst_downloadthread_longfaults.moc"

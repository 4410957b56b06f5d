// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/WorkerProcess.h"
#include "tests/support/FaultyAnswers.h"

#include <QtTest>

namespace {

constexpr int DeadlineMs = 20000;
constexpr int MostRequests = 4;        // the network layer asks again where nothing has arrived
constexpr double AllowedMebibytes = 8; // above those of a good answer

const QString Path = QStringLiteral("folder/file.bin");
const QByteArray Content = QByteArray("0123456789").repeated(400);
const QString Success = QStringLiteral("更新成功");

QString ExpectedEnd(const FaultyAnswer &answer)
{
    if (answer.arrives.isNull()) {
        return QStringLiteral("下载更新文件file.bin网络错误");
    }
    return answer.arrives == Content
               ? Success
               : QStringLiteral("下载更新文件file.bin大小不对(预期4000，实际%1)")
                     .arg(answer.arrives.size());
}

} // namespace

/// How a worker in a process of its own ends, and how much memory it takes, when its server or what
/// lies between them fails.
class tst_DownloadThreadFaults : public QObject {
    Q_OBJECT

private slots:
    void answer_faulty_endsByWhatArrives_data();
    void answer_faulty_endsByWhatArrives();

private:
    double m_plainMebibytes = 0; // of the first row
};

void tst_DownloadThreadFaults::answer_faulty_endsByWhatArrives_data()
{
    QTest::addColumn<FaultyAnswer>("answer");
    for (const FaultyAnswer &answer : FaultyAnswers(Content)) {
        if (!answer.waits) {
            QTest::newRow(qPrintable(answer.name)) << answer;
        }
    }
}

void tst_DownloadThreadFaults::answer_faulty_endsByWhatArrives()
{
    QFETCH(FaultyAnswer, answer);
    const ScriptedServer server(
        [&](ScriptedConnection &connection, const QByteArray &) { Give(answer, connection); });
    const UpdateFolders folders;

    WorkerProcess worker(server.url(QStringLiteral("/")), folders, {RecordOf(Path, Content)});

    QCOMPARE(worker.end(DeadlineMs), ExpectedEnd(answer));
    worker.report(answer.name);
    QVERIFY(server.requests().size() <= MostRequests);
    QVERIFY(ReadTree(folders.staging).isEmpty());
    QCOMPARE(ReadTree(folders.install),
             ExpectedEnd(answer) == Success ? FileMap({{Path, Content}}) : FileMap());
    if (m_plainMebibytes == 0) {
        m_plainMebibytes = worker.peakMebibytes();
    }
    QVERIFY(!PeakMemory::isComparable() ||
            worker.peakMebibytes() < m_plainMebibytes + AllowedMebibytes);
}

QTEST_GUILESS_MAIN(tst_DownloadThreadFaults)
#include "tst_downloadthread_faults.moc"

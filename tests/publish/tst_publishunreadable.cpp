// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "tests/publish/PublishTool.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/MemoryFolder.h"
#include "tests/support/SigningKey.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>

namespace {

QStringList ReadingKinds()
{
    return {"open-to-read", "read", "stat", "list", "lock", "close", "unlink"};
}

QVector<int> ErrorsOf(const QString &kind)
{
    static const QMap<QString, QVector<int>> others{{"read", {EIO, EINTR}},
                                                    {"lock", {EWOULDBLOCK, ENOLCK}}};
    return others.value(kind, {EIO});
}

} // namespace

/// A call by which publish_update looks at something fails once, on each way through the program
/// that leads to one (with UPDATER_ALL_WAYS; otherwise on some): it ends, says why when it has not
/// done what it was asked to, and what is announced is a whole release at any time.
class tst_PublishUnreadable : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void call_fails_data();
    void call_fails();

private:
    void prepare();
    void strike(const QStringList &arguments, int number, int error);
    QString announced() const;
    bool isWhole(const QString &folder) const;

    const SigningKey m_key;
    QTemporaryDir m_folder{MemoryFolder()};
    QString m_release;
    QString m_prepared; // two releases, the second one announced, and a work folder left behind
    QString m_output;
    QSet<QString> m_seen; // ways to calls, of all rows
};

void tst_PublishUnreadable::initTestCase()
{
    m_release = m_folder.filePath("release");
    m_prepared = m_folder.filePath("prepared");
    m_output = m_folder.filePath("work/output");
    WriteFile(m_release + "/a", "content");
    WriteFile(m_release + "/d/e/b", "more");
    QVERIFY(QFile::link("d/e", m_release + "/link"));
    for (const char *version : {"3.8.0", "3.9.0"}) {
        QStringList arguments = PublishArguments(m_release, m_prepared + "/output");
        arguments.replace(1, version);
        arguments = QStringList{"--sign-with", m_key.command()} + arguments;
        const ToolRun run = RunPublish(arguments);
        QVERIFY2(run.exitCode == 0, run.errors.constData());
    }
    WriteFile(m_prepared + "/output/.publish_update/release/left", "by a run that was killed");
}

void tst_PublishUnreadable::prepare()
{
    const QString work = m_folder.filePath("work");
    QVERIFY(QDir(work).removeRecursively());
    QCOMPARE(QProcess::execute("cp", {"-a", m_prepared, work}), 0);
}

QString tst_PublishUnreadable::announced() const
{
    return QJsonDocument::fromJson(ReadFile(m_output + "/update.json"))
        .object()
        .value("Folder")
        .toString();
}

bool tst_PublishUnreadable::isWhole(const QString &folder) const
{
    const QDir release(m_output + "/" + folder);
    const auto records = ParseMd5File(ReadFile(release.filePath("update_md5.info")));
    return records.size() == 2 && CheckMd5(records, release.filePath("none"), release).isEmpty() &&
           m_key.accepts(ReadFile(release.filePath("update_md5.info")),
                         ReadFile(release.filePath("update_md5.info.minisig")));
}

void tst_PublishUnreadable::strike(const QStringList &arguments, int number, int error)
{
    prepare();
    FailingCalls calls(m_folder.path(), ReadingKinds());
    const ToolRun run = RunPublish(arguments, calls.failOnce(number, error));
    const QByteArray where = "error " + QByteArray::number(error) + " at " +
                             calls.calls().value(number - 1).toUtf8() + "\n" + run.output +
                             run.errors;
    QVERIFY2(run.exitCode == 0 || (run.exitCode == 1 && !run.errors.isEmpty()), where.constData());
    const QString now = announced();
    QVERIFY2(isWhole(now), where.constData());
    const bool isPublished = run.output.contains("Published version");
    QVERIFY2(!isPublished || (run.exitCode == 0 && now == "3.10.25"), where.constData());
    const bool isAnnounced = run.output.contains("Announced version");
    QVERIFY2(!isAnnounced || (run.exitCode == 0 && now == "3.8.0"), where.constData());

    // Once all goes well again, so does the next run.
    if (now == "3.9.0") {
        const ToolRun again = RunPublish(arguments);
        QVERIFY2(again.exitCode == 0, (where + again.errors).constData());
        QVERIFY(isWhole(announced()));
    }
}

void tst_PublishUnreadable::call_fails_data()
{
    QTest::addColumn<QStringList>("arguments");
    const QStringList keys{"--public-key", m_key.publicKey()};
    const QStringList signing =
        QStringList{"--sign-with", m_key.command(), "--application", "a.b.c"} + keys;
    const QStringList publishing = PublishArguments(m_release, m_output);
    QTest::newRow("publishing") << signing + publishing;
    QTest::newRow("a dry run") << QStringList{"--dry-run"} + publishing;
    QTest::newRow("verifying") << QStringList{"--verify", m_output} + keys;
    QTest::newRow("listing") << QStringList{"--list", m_output};
    QTest::newRow("announcing") << QStringList{"--announce", "3.8.0"} + keys +
                                       QStringList(m_output);
    QTest::newRow("pruning") << QStringList{"--prune", "1", m_output};
}

void tst_PublishUnreadable::call_fails()
{
    QFETCH(QStringList, arguments);
    prepare();
    FailingCalls calls(m_folder.path(), ReadingKinds());
    const ToolRun whole = RunPublish(arguments, calls.letThrough());
    QVERIFY2(whole.exitCode == 0, whole.errors.constData());
    const QVector<QPair<int, QString>> ways = calls.onNewWays(m_seen);
    QVERIFY(!ways.isEmpty());
    const int step = qEnvironmentVariableIsSet("UPDATER_ALL_WAYS") ? 1 : 5;
    for (int index = 0; index < ways.size(); index += step) {
        for (const int error : ErrorsOf(ways.at(index).second)) {
            strike(arguments, ways.at(index).first, error);
            if (QTest::currentTestFailed()) {
                return;
            }
        }
    }
    qInfo("%d ways", static_cast<int>(ways.size()));
}

QTEST_GUILESS_MAIN(tst_PublishUnreadable)
#include "tst_publishunreadable.moc"

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

#include <array>
#include <cerrno>

namespace {

constexpr std::array<int, 4> Errors{ENOSPC, EIO, EACCES, EDQUOT};

} // namespace

/// Every single call by which publish_update changes something fails once, and then permanently.
/// The program says so, and the announced release is whole at any time.
class tst_PublishFailing : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void publish_first();
    void publish_signed();
    void announce_older();
    void prune_oldest();
    void prune_removalFails_isSaid();
    void verifyAndList_needNoRightToWrite();

private:
    /// A command to run on a copy of the prepared output folder, or without one.
    struct Scenario {
        bool isFirst = false;  ///< the output folder does not exist yet
        QStringList arguments; ///< before the output folder
        QString announced;     ///< by a run that succeeds
    };

    void failEverywhere(const Scenario &scenario);
    void failAt(const Scenario &scenario, int number, bool isOnwards, int error);
    void prepare(const Scenario &scenario);
    QString announced() const;
    bool isWhole(const QString &folder) const;

    const SigningKey m_key;
    QTemporaryDir m_folder{MemoryFolder()};
    QString m_release;
    QString m_prepared; // two releases, the second one announced
    QString m_work;     // contains the output folder of the current run
    QString m_output;
};

void tst_PublishFailing::initTestCase()
{
    m_release = m_folder.filePath("release");
    m_prepared = m_folder.filePath("prepared");
    m_work = m_folder.filePath("work");
    m_output = m_work + "/new/output";
    WriteFile(m_release + "/a", "content");
    WriteFile(m_release + "/d/e/b", "more");
    QVERIFY(QDir().mkpath(m_prepared));
    for (const char *version : {"3.8.0", "3.9.0"}) {
        QStringList arguments = PublishArguments(m_release, m_prepared + "/new/output");
        arguments.replace(1, version);
        QCOMPARE(RunPublish(arguments).exitCode, 0);
    }
}

void tst_PublishFailing::prepare(const Scenario &scenario)
{
    QVERIFY(QDir(m_work).removeRecursively());
    if (scenario.isFirst) {
        QVERIFY(QDir().mkpath(m_work));
    } else {
        QCOMPARE(QProcess::execute("cp", {"-a", m_prepared, m_work}), 0);
    }
}

QString tst_PublishFailing::announced() const
{
    return QJsonDocument::fromJson(ReadFile(m_output + "/update.json"))
        .object()
        .value("Folder")
        .toString();
}

/// Whether the release has all that its manifest lists, and a manifest that lists all.
bool tst_PublishFailing::isWhole(const QString &folder) const
{
    const QDir release(m_output + "/" + folder);
    const auto records = ParseMd5File(ReadFile(release.filePath("update_md5.info")));
    return records.size() == 2 && CheckMd5(records, release.filePath("none"), release).isEmpty();
}

void tst_PublishFailing::failAt(const Scenario &scenario, int number, bool isOnwards, int error)
{
    prepare(scenario);
    const QString before = announced();
    FailingCalls calls(m_work);
    const QStringList wrapper =
        isOnwards ? calls.failFrom(number, error) : calls.failOnce(number, error);
    const ToolRun run = RunPublish(scenario.arguments + QStringList(m_output), wrapper);
    const QByteArray where = calls.calls().join("\n").toUtf8() + "\n" + run.errors;
    QVERIFY2(calls.hasFailed(), where.constData());
    QVERIFY2(run.exitCode == 1 && !run.errors.isEmpty(), where.constData());
    QVERIFY2(!run.output.contains("Published") && !run.output.contains("Announced"),
             where.constData());

    // The announced release is there: the former one, or the new one if only the final sync failed.
    const QString now = announced();
    QVERIFY2(now == before || now == scenario.announced, where.constData());
    QVERIFY2(now.isEmpty() ? !QFileInfo::exists(m_output + "/update.json") : isWhole(now),
             where.constData());
    QVERIFY2(now == before || run.errors.contains("a power loss may bring the old one back"),
             where.constData());

    // Once calls succeed again, so does the next run.
    if (now == before) {
        const ToolRun again = RunPublish(scenario.arguments + QStringList(m_output));
        QVERIFY2(again.exitCode == 0, (where + again.errors).constData());
        QCOMPARE(announced(), scenario.announced);
        QVERIFY(isWhole(scenario.announced));
        QVERIFY(!QFileInfo::exists(m_output + "/.publish_update"));
    }
}

void tst_PublishFailing::failEverywhere(const Scenario &scenario)
{
    prepare(scenario);
    FailingCalls calls(m_work);
    const ToolRun run = RunPublish(scenario.arguments + QStringList(m_output), calls.letThrough());
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    QCOMPARE(announced(), scenario.announced);
    const int count = calls.count();
    QVERIFY2(count >= 4, qPrintable(calls.calls().join("\n")));
    // Every error at every call would take long; the quick test takes the errors in turn.
    const int errorsAtOnce = qEnvironmentVariableIsSet("UPDATER_ALL_ERRORS") ? 4 : 1;
    for (int turn = 0; turn < 2 * errorsAtOnce * count; ++turn) {
        const int number = 1 + turn / 2 % count;
        const bool isOnwards = turn % 2 == 1;
        const int error = Errors.at(static_cast<std::size_t>((number + turn / 2 / count) % 4));
        failAt(scenario, number, isOnwards, error);
        if (QTest::currentTestFailed()) {
            qWarning("Call %d of %d%s, error %d", number, count,
                     isOnwards ? " and all behind it" : "", error);
            return;
        }
    }
}

void tst_PublishFailing::publish_first()
{
    QStringList arguments = PublishArguments(m_release, {});
    arguments.removeLast();
    failEverywhere({true, arguments, "3.10.25"});
}

void tst_PublishFailing::publish_signed()
{
    QStringList arguments = PublishArguments(m_release, {});
    arguments.removeLast();
    arguments += {"--sign-with",     m_key.command(), "--public-key",
                  m_key.publicKey(), "--application", "a.b.c"};
    failEverywhere({false, arguments, "3.10.25"});
}

void tst_PublishFailing::announce_older()
{
    failEverywhere({false, {"--announce", "3.8.0"}, "3.8.0"});
}

void tst_PublishFailing::prune_oldest()
{
    failEverywhere({false, {"--prune", "1"}, "3.9.0"});
}

void tst_PublishFailing::prune_removalFails_isSaid()
{
    const QStringList arguments{"--prune", "1", m_output};
    prepare({});
    FailingCalls calls(m_work, {"unlink"});
    QCOMPARE(RunPublish(arguments, calls.letThrough()).exitCode, 0);
    const int count = calls.count();
    for (int number = 1; number <= count; ++number) {
        prepare({});
        const ToolRun run = RunPublish(arguments, calls.failFrom(number, EIO));
        const bool isLeft = QFileInfo::exists(m_output + "/.publish_update/hidden-0");
        QVERIFY2(run.exitCode == (isLeft ? 1 : 0), run.errors.constData());
        QVERIFY(!isLeft ||
                run.errors.contains(R"("3.8.0" is no longer visible, but part of it is )"));
        QVERIFY(!QFileInfo::exists(m_output + "/3.8.0"));
        QCOMPARE(RunPublish(arguments).exitCode, 0);
        QVERIFY(!QFileInfo::exists(m_output + "/.publish_update"));
    }
}

void tst_PublishFailing::verifyAndList_needNoRightToWrite()
{
    prepare({});
    for (const QStringList &arguments : {QStringList{"--verify"}, QStringList{"--list"}}) {
        FailingCalls calls(m_work);
        const ToolRun run = RunPublish(arguments + QStringList(m_output), calls.failFrom(1, EROFS));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(calls.count(), 0);
    }
}

QTEST_GUILESS_MAIN(tst_PublishFailing)
#include "tst_publishfailing.moc"

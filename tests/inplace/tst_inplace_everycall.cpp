// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "inplace/Layout.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/SigningKey.h"

#include <QtTest>

#include <cerrno>
#include <csignal>

namespace {

const Tree Users{{QStringLiteral("mine/notes"), File("of the user", 0640)},
                 {QStringLiteral("mine/link"), Link("notes")},
                 {QStringLiteral("mine/hollow"), Folder(0711)}};

/// All kinds of calls that are counted.
QStringList AllKinds()
{
    return QStringLiteral(
               "open write sync rename link symlink mkdir chmod chown unlink open-to-read "
               "read stat list lock close")
        .split(QLatin1Char(' '));
}

/// What a call of a kind is made to fail with: by a fault, and where the system has one, by
/// something that is to be borne.
QVector<int> ErrorsOf(const QString &kind)
{
    static const QMap<QString, QVector<int>> others{
        {QStringLiteral("open"), {ENOSPC}},        {QStringLiteral("write"), {EDQUOT, EINTR}},
        {QStringLiteral("read"), {EIO, EINTR}},    {QStringLiteral("sync"), {EIO, EINVAL}},
        {QStringLiteral("rename"), {EIO, EINVAL}}, {QStringLiteral("lock"), {EWOULDBLOCK, ENOLCK}},
        {QStringLiteral("link"), {EPERM, ENOSPC}},
    };
    return others.value(kind, {EIO});
}

TestRelease Edition(int number, bool isBundle)
{
    TestRelease release = number == 1 ? InplaceStage::oldRelease() : InplaceStage::newRelease();
    release.version = number * 1000000;
    release.versionString = QStringLiteral("%1.0.0").arg(number);
    release.tree[QStringLiteral("z")].content += QByteArray::number(number);
    release.tree.insert(QStringLiteral("edition %1").arg(number), File("of this edition only"));
    if (isBundle) {
        release.tree.insert(QStringLiteral("Contents/Info.plist"), File("<plist></plist>"));
    }
    return release;
}

void Copy(const QString &from, const QString &to)
{
    if (!QDir(to).removeRecursively() ||
        QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), from, to}) != 0) {
        qFatal("%s cannot be copied.", qPrintable(from));
    }
}

} // namespace

/// A call of the system fails once, on each way through the program that leads to one, whatever the
/// program is asked to do: the installation is wholly as it was or wholly as it is to be, success
/// is said only for the latter, and the same command ends with it when nothing fails any more.
///
/// UPDATER_FAULTS failures for each row, or all of them with 0.
class tst_InplaceEveryCall : public QObject {
    Q_OBJECT

private slots:
    void init();
    void call_fails_data();
    void call_fails();

private:
    void serve(const TestRelease &release);
    void prepare(const QString &state, bool isBundle);
    void stopAt(const QString &call);
    void keep();
    void putBack();
    void strike(FailingCalls &calls, int number, int error);
    QString run(const QStringList &more);
    QString arrived() const;

    const SigningKey m_key;
    std::unique_ptr<InplaceStage> m_stage;
    QStringList m_arguments;
    QStringList m_goodCodes;
    QString m_library; // preloaded too
    bool m_isReadyAtFirst = false;
    TestRelease m_before;
    TestRelease m_after;
    Tree m_users;         // the user's own entries
    QSet<QString> m_seen; // ways to calls, of all rows
};

void tst_InplaceEveryCall::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
}

/// Serves a release, signed if it can be.
void tst_InplaceEveryCall::serve(const TestRelease &release)
{
    FileMap files = release.published();
    const QString manifest = release.folder() + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    files.insert(SignaturePath(manifest), m_key.signature(files.value(manifest)));
    m_stage->serve(ServeFiles(files));
}

QString tst_InplaceEveryCall::run(const QStringList &more)
{
    return m_stage->run(more);
}

/// Has a run end by a signal right before its first call of this kind on this path.
void tst_InplaceEveryCall::stopAt(const QString &call)
{
    FailingCalls calls(m_stage->temporary.path(), AllKinds());
    InplaceProgram whole(m_stage->arguments(m_arguments));
    keep();
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const int number = static_cast<int>(calls.calls().indexOf(call)) + 1;
    QVERIFY2(number > 0, qPrintable(calls.calls().join(QLatin1Char('\n'))));
    putBack();
    InplaceProgram stopped(m_stage->arguments(m_arguments));
    stopped.prefix(calls.signalBefore(number, SIGKILL));
    QCOMPARE(stopped.run(), -1);
}

void tst_InplaceEveryCall::prepare(const QString &state, bool isBundle)
{
    const QStringList key{QStringLiteral("--public-key"), m_key.publicKey()};
    m_arguments = key;
    m_library.clear();
    m_isReadyAtFirst = false;
    m_goodCodes = QStringList{QStringLiteral("updated"), QStringLiteral("up-to-date")};
    m_stage->lay(Edition(1, isBundle));
    m_users = Users;
    LayNodes(m_stage->install, m_users);
    m_before = Edition(2, isBundle);
    m_after = Edition(3, isBundle);
    serve(m_before);
    QCOMPARE(run(key), QStringLiteral("updated"));
    serve(m_after);
    if (state.startsWith(QLatin1String("undo"))) {
        if (state == QLatin1String("undo")) {
            const Tree since{{QStringLiteral("since"), File("made after the update")}};
            LayNodes(m_stage->install, since);
            m_users.insert(since.firstKey(), since.first());
        } else {
            QVERIFY(QFile::remove(m_stage->parent + QStringLiteral("/.Sample#previous/") +
                                  LOCAL_MD5_FILENAME));
        }
        m_after = Edition(1, isBundle);
        m_arguments += QStringLiteral("--undo");
        m_goodCodes = QStringList{QStringLiteral("undone"), QStringLiteral("nothing-to-undo")};
    } else if (state == QLatin1String("repair")) {
        QCOMPARE(run(key), QStringLiteral("updated"));
        m_before = m_after;
        m_before.tree[QStringLiteral("same")].content = "the salt";
        WriteFile(m_stage->install + QStringLiteral("/same"), "the salt");
        m_arguments += QStringLiteral("--repair");
        m_goodCodes = QStringList{QStringLiteral("repaired"), QStringLiteral("up-to-date")};
    } else if (state == QLatin1String("fetch")) {
        m_after = m_before;
        m_arguments += QStringLiteral("--fetch-only");
        m_goodCodes = QStringList{QStringLiteral("ready")};
    } else if (state == QLatin1String("apply")) {
        QCOMPARE(run(key + QStringList(QStringLiteral("--fetch-only"))), QStringLiteral("ready"));
        m_arguments += QStringLiteral("--apply-only");
        m_isReadyAtFirst = true;
    } else if (state == QLatin1String("check")) {
        m_after = m_before;
        m_arguments += QStringLiteral("--check");
        m_goodCodes = QStringList{QStringLiteral("available")};
    } else if (state == QLatin1String("no backup")) {
        m_arguments += QStringLiteral("--no-backup");
    } else if (state == QLatin1String("no exchange")) {
        m_library = QStringLiteral(NO_EXCHANGE);
    } else if (state == QLatin1String("no links")) {
        m_library = QStringLiteral(NO_LINKS);
    } else if (state == QLatin1String("old")) {
        m_after.isComplete = false; // so it has neither links nor empty folders
        for (const char *path : {"link", "newLink", "hollow"}) {
            m_after.tree.remove(QLatin1String(path));
        }
        m_arguments = QStringList();
        m_stage->publish(m_after);
    } else if (state == QLatin1String("staged")) {
        WriteFile(m_stage->staging + QStringLiteral("/inplace_update#fetch/of/another"), "file");
        WriteFile(m_stage->parent + QStringLiteral("/.Sample#new/of/another"), "file");
        WriteFile(m_stage->parent + QStringLiteral("/.Sample#new/same/is/a folder"), "file");
    } else if (state == QLatin1String("exchanged")) {
        stopAt(QStringLiteral("rename ") + m_stage->parent + QStringLiteral("/.Sample#new"));
    } else if (state == QLatin1String("moved away")) {
        QCOMPARE(run(key + QStringList(QStringLiteral("--fetch-only"))), QStringLiteral("ready"));
        QDir around(m_stage->parent);
        const QString former = QStringLiteral(".Sample#previous");
        QVERIFY(QDir(around.filePath(former)).removeRecursively());
        QVERIFY(around.rename(QStringLiteral("Sample"), former));
    }
    keep();
}

void tst_InplaceEveryCall::keep()
{
    Copy(m_stage->parent, m_stage->temporary.filePath(QStringLiteral("kept parent")));
    Copy(m_stage->staging, m_stage->temporary.filePath(QStringLiteral("kept staging")));
}

void tst_InplaceEveryCall::putBack()
{
    Copy(m_stage->temporary.filePath(QStringLiteral("kept parent")), m_stage->parent);
    Copy(m_stage->temporary.filePath(QStringLiteral("kept staging")), m_stage->staging);
}

/// Empty when the installation is as it is to be.
QString tst_InplaceEveryCall::arrived() const
{
    return m_stage->differences(m_after, WithFolders(m_users));
}

void tst_InplaceEveryCall::strike(FailingCalls &calls, int number, int error)
{
    putBack();
    InplaceProgram struck(m_stage->arguments(m_arguments));
    struck.prefix(calls.failOnce(number, error));
    const int code = struck.run();
    const QString where =
        QStringLiteral("error %1 at %2 %3\n%4")
            .arg(QString::number(error), QString::number(number), calls.calls().value(number - 1),
                 QString::fromUtf8(struck.output() + struck.errors()));
    QVERIFY2(code == 0 || code == 1, qPrintable(where));
    const bool isThere = QFileInfo::exists(m_stage->install);
    const QString missing = isThere ? arrived() : QStringLiteral("all");
    const QString changed =
        isThere ? m_stage->differences(m_before, WithFolders(m_users)) : QString();
    QVERIFY2(missing.isEmpty() || changed.isEmpty(), qPrintable(where + missing));
    QVERIFY2(code == 1 || missing.isEmpty(), qPrintable(where + missing));

    QString again = run(m_arguments);
    if (m_isReadyAtFirst && again == QLatin1String("nothing-ready")) {
        // What cannot be read is thrown away, what was fetched with it.
        again = run({QStringLiteral("--public-key"), m_key.publicKey()});
    }
    const QString end = QString::fromUtf8(m_stage->program().errors());
    QVERIFY2(m_goodCodes.contains(again), qPrintable(where + end));
    QVERIFY2(arrived().isEmpty(), qPrintable(where + end + arrived()));
}

void tst_InplaceEveryCall::call_fails_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<bool>("isBundle");
    QTest::newRow("an update") << "update" << false;
    QTest::newRow("an update of a bundle") << "update" << true;
    QTest::newRow("an update over leftovers") << "staged" << false;
    QTest::newRow("an update to an old manifest") << "old" << false;
    QTest::newRow("an update without a backup") << "no backup" << false;
    QTest::newRow("an update where names cannot be exchanged") << "no exchange" << false;
    QTest::newRow("an update where files cannot be linked") << "no links" << false;
    QTest::newRow("going back") << "undo" << false;
    QTest::newRow("going back with a bundle") << "undo" << true;
    QTest::newRow("going back to an unknown release") << "undo, unknown" << false;
    QTest::newRow("a repair") << "repair" << false;
    QTest::newRow("fetching only") << "fetch" << false;
    QTest::newRow("applying only") << "apply" << false;
    QTest::newRow("a check") << "check" << false;
    QTest::newRow("completing what was stopped") << "exchanged" << false;
    QTest::newRow("completing a bundle") << "exchanged" << true;
    QTest::newRow("bringing it back") << "moved away" << false;
}

void tst_InplaceEveryCall::call_fails()
{
    QFETCH(QString, state);
    QFETCH(bool, isBundle);
    prepare(state, isBundle);
    if (QTest::currentTestFailed()) {
        return;
    }
    FailingCalls calls(m_stage->temporary.path(), AllKinds());
    calls.preload(m_library);
    InplaceProgram whole(m_stage->arguments(m_arguments));
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    QCOMPARE(arrived(), QString());
    const QVector<QPair<int, QString>> ways = calls.onNewWays(m_seen);
    QVERIFY(!ways.isEmpty());
    const int tries = Setting("UPDATER_FAULTS", 2);
    const int step = tries == 0 ? 1 : qMax(1, static_cast<int>(ways.size()) / tries);
    for (int index = 0; index < ways.size(); index += step) {
        const QVector<int> errors = ErrorsOf(ways.at(index).second);
        for (const int error : errors) {
            strike(calls, ways.at(index).first, error);
            if (QTest::currentTestFailed()) {
                return;
            }
        }
    }
    qInfo("%d ways", static_cast<int>(ways.size()));
}

QTEST_GUILESS_MAIN(tst_InplaceEveryCall)
#include "tst_inplace_everycall.moc"

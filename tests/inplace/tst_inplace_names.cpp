// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include <QtTest>

#include <climits>

namespace {

/// Returns a new folder whose path has this many bytes.
QString DeepFolder(const QString &above, int length)
{
    QString path = above;
    while (length - path.size() > 251) {
        path += QLatin1Char('/') + QString(qMin(250, length - path.size() - 3), QLatin1Char('d'));
    }
    path += QLatin1Char('/') + QString(length - path.size() - 1, QLatin1Char('d'));
    return QDir().mkpath(path) ? path : QString();
}

TestRelease ReleaseOf(const Tree &tree, int version)
{
    TestRelease release;
    release.version = version * 1000000;
    release.versionString = QString::number(version);
    release.tree = tree;
    release.tree.insert(QStringLiteral("a"), File("a " + QByteArray::number(version)));
    return release;
}

} // namespace

/// Names and paths as long as the system accepts, and longer; with UPDATER_STEP=1 of every length
/// near the limit.
class tst_InplaceNames : public QObject {
    Q_OBJECT

private slots:
    void name_length_isTakenOrRefused_data();
    void name_length_isTakenOrRefused();
    void name_ofTheUsers_isKept();
    void name_ofTheUsers_spelledLikeTheReleases_isKept();
    void name_ofTheInstallation_nothingIsLost();
    void path_nearTheLimit_nothingIsLost_data();
    void path_nearTheLimit_nothingIsLost();
};

void tst_InplaceNames::name_length_isTakenOrRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isTaken");
    const auto letters = [](int count) { return QString(count, QLatin1Char('n')); };
    const auto chinese = QStringLiteral("文").repeated(83); // 249 bytes
    QTest::newRow("251 bytes") << letters(251) << true;
    QTest::newRow("252 bytes") << letters(252) << false;
    QTest::newRow("255 bytes") << letters(255) << false;
    QTest::newRow("251 bytes of UTF-8") << chinese + QStringLiteral("ab") << true;
    QTest::newRow("252 bytes of UTF-8") << chinese + QStringLiteral("abc") << false;
    QTest::newRow("folder of 251 bytes") << letters(251) + QStringLiteral("/file") << true;
    QTest::newRow("folder of 252 bytes") << letters(252) + QStringLiteral("/file") << false;
}

void tst_InplaceNames::name_length_isTakenOrRefused()
{
    QFETCH(QString, name);
    QFETCH(bool, isTaken);
    InplaceStage stage(QStringLiteral("Sample"));
    const TestRelease old = ReleaseOf({}, 1);
    const TestRelease release = ReleaseOf({{name, File("new")}}, 2);
    const TestRelease next = ReleaseOf({{name, File("newer")}}, 3);
    stage.lay(old);
    stage.publish(release);
    if (!isTaken) {
        QCOMPARE(stage.run(), QStringLiteral("manifest"));
        QCOMPARE(stage.differences(old), QString());
        QCOMPARE(stage.requested().size(), 2);
        return;
    }
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release), QString());
    stage.publish(next);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(next), QString());
}

void tst_InplaceNames::name_ofTheUsers_isKept()
{
    const QString longest(255, QLatin1Char('n'));
    const Tree users{{longest, File("mine")},
                     {QStringLiteral("d/") + longest, Link(longest.toLatin1())},
                     {QStringLiteral("d"), Folder()}};
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(ReleaseOf({}, 1));
    LayNodes(stage.install, users);
    const TestRelease release = ReleaseOf({}, 2);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release, users), QString());
}

/// On a volume that keeps such names apart, as it is asked about each.
void tst_InplaceNames::name_ofTheUsers_spelledLikeTheReleases_isKept()
{
    const Tree users{{QStringLiteral("A"), File("mine")},
                     {QStringLiteral("Data/X"), File("mine too")},
                     {QStringLiteral("E\u0301"), Link("A")},
                     {QStringLiteral("Update_MD5.info"), File("no manifest")}};
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(ReleaseOf({}, 1));
    LayNodes(stage.install, users);
    const TestRelease release = ReleaseOf(
        {{QStringLiteral("data/x"), File("x")}, {QStringLiteral("\u00C9"), File("e")}}, 2);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release, WithFolders(users)), QString());
}

/// The names beside it are ten bytes longer.
void tst_InplaceNames::name_ofTheInstallation_nothingIsLost()
{
    const TestRelease old = ReleaseOf({}, 1);
    const TestRelease release = ReleaseOf({}, 2);
    for (int length = 243; length <= 255; ++length) {
        InplaceStage stage(QString(length, QLatin1Char('n')));
        stage.lay(old);
        stage.publish(release);
        const QString code = stage.run();
        const bool isDone = code == QLatin1String("updated");
        QCOMPARE(code, length <= 245 ? QStringLiteral("updated") : QStringLiteral("names"));
        QCOMPARE(stage.program().exitCode(), isDone ? 0 : 1);
        QCOMPARE(stage.differences(isDone ? release : old), QString());
    }
}

void tst_InplaceNames::path_nearTheLimit_nothingIsLost_data()
{
    QTest::addColumn<bool>("isInstall"); // what the long path leads to, or to the staging folder
    QTest::newRow("installation") << true;
    QTest::newRow("staging") << false;
}

/// From lengths at which everything fits to those at which not even the installation's own names
/// do.
void tst_InplaceNames::path_nearTheLimit_nothingIsLost()
{
    QFETCH(bool, isInstall);
    const TestRelease old = ReleaseOf({}, 1);
    const TestRelease release = ReleaseOf({{QStringLiteral("l/f"), File("new")}}, 2);
    QMap<QString, int> codes;
    const int step = Setting("UPDATER_STEP", 9);
    for (int length = PATH_MAX - 100; length < PATH_MAX - 8; length += step) {
        InplaceStage stage(QStringLiteral("Sample"));
        const QString deep = DeepFolder(stage.temporary.path(), length);
        QVERIFY2(!deep.isEmpty(), QByteArray::number(length).constData());
        if (isInstall) {
            stage.install = deep;
            stage.parent = QFileInfo(deep).path();
        } else {
            stage.staging = deep;
        }
        LayNodes(stage.install, old.tree);
        stage.publish(release);
        const QString code = stage.run(
            {QStringLiteral("--manifest"), stage.temporary.filePath(QStringLiteral("manifest"))});
        codes[code]++;
        const bool isDone = code == QLatin1String("updated");
        QCOMPARE(stage.program().exitCode(), isDone ? 0 : 1);
        QCOMPARE(stage.differences(isDone ? release : old), QString());
        // With rm, which walks the tree: the paths beside it are longer than the system accepts.
        QCOMPARE(QProcess::execute(QStringLiteral("rm"),
                                   {QStringLiteral("-rf"), stage.temporary.path()}),
                 0);
    }
    for (auto code = codes.cbegin(); code != codes.cend(); ++code) {
        qInfo("%d times %s", code.value(), qPrintable(code.key()));
    }
    QVERIFY(codes.contains(QStringLiteral("updated")) && codes.size() > 1);
}

QTEST_GUILESS_MAIN(tst_InplaceNames)
#include "tst_inplace_names.moc"

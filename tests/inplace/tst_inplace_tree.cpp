// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/inplace/Samples.h"

#include <QCryptographicHash>
#include <QtTest>

namespace {

/// The kind of a path in a release.
Tree Entry(const QString &kind, const QByteArray &edition)
{
    const QString path = QStringLiteral("data");
    if (kind == QLatin1String("file")) {
        return {{path, File("file of " + edition)}};
    }
    if (kind == QLatin1String("folder")) {
        return {{path + QStringLiteral("/x"), File("within, of " + edition)}};
    }
    if (kind == QLatin1String("link")) {
        return {{path, Link(edition == "the old" ? "one" : "other")}};
    }
    return {};
}

TestRelease ReleaseOf(const Tree &tree, int version)
{
    TestRelease release;
    release.version = version * 1000000;
    release.versionString = QString::number(version);
    release.tree = tree;
    release.tree.insert(QStringLiteral("one"), File("one"));
    release.tree.insert(QStringLiteral("other"), File("other"));
    return release;
}

} // namespace

/// Whatever the trees are: after the update the installation is the release.
class tst_InplaceTree : public QObject {
    Q_OBJECT

private slots:
    void kind_changes_data();
    void kind_changes();
    void bundle_ofEveryKind_overManyReleases();
    void bundle_sealStaysWhole();
    void bundle_withoutManifest_nothingElseStays();
    void bundle_withoutItsStaging_nothingElseStays();
    void bundle_replacedByHand_nothingElseStays();
    void bundle_notReplaced_keepsTheUsersOwn_data();
    void bundle_notReplaced_keepsTheUsersOwn();
    void bundle_replacedByAFormerOne_isUpdatedAgain_data();
    void bundle_replacedByAFormerOne_isUpdatedAgain();
    void names_inOtherCase_areTheReleases();
    void names_longAndOfManyLetters();
    void users_inTheWay_giveWay();
    void staging_ofAnotherRelease_isNoObstacle();
    void staging_wholeFiles_areNotFetchedAgain();
    void repair_ofRot_bringsBackExactlyThat();
};

void tst_InplaceTree::kind_changes_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    for (const char *before : {"file", "folder", "link", "nothing"}) {
        for (const char *after : {"file", "folder", "link", "nothing"}) {
            QTest::addRow("%s to %s", before, after)
                << QString::fromLatin1(before) << QString::fromLatin1(after);
        }
    }
}

void tst_InplaceTree::kind_changes()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(ReleaseOf(Entry(before, "the old"), 1));
    const TestRelease release = ReleaseOf(Entry(after, "the new"), 2);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release), QString());
}

void tst_InplaceTree::bundle_ofEveryKind_overManyReleases()
{
    InplaceStage stage;
    stage.lay(ManyKinds(1, 100));
    const Tree users{{QStringLiteral("Contents/Resources/第1组/我的"), File("my own")}};
    LayNodes(stage.install, users);
    for (int edition = 2; edition < 6; ++edition) {
        stage.publish(ManyKinds(edition, 100));
        QCOMPARE(stage.run(), QStringLiteral("updated"));
        QCOMPARE(stage.differences(ManyKinds(edition, 100), users), QString());
    }
}

void tst_InplaceTree::bundle_sealStaysWhole()
{
    const auto sealed = [](int edition) {
        TestRelease release = ManyKinds(edition, 80);
        QByteArray seal;
        for (auto node = release.tree.cbegin(); node != release.tree.cend(); ++node) {
            if (node->kind == Node::Kind::File) {
                seal +=
                    QCryptographicHash::hash(node->content, QCryptographicHash::Sha256).toHex() +
                    ' ' + node.key().toUtf8() + '\n';
            }
        }
        release.tree.insert(QStringLiteral("Contents/_CodeSignature/CodeResources"), File(seal));
        return release;
    };
    InplaceStage stage;
    stage.lay(sealed(1));
    stage.publish(sealed(2));
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    Tree there = stage.installed();
    const QList<QByteArray> seal =
        there.take(QStringLiteral("Contents/_CodeSignature/CodeResources")).content.split('\n');
    QVERIFY(seal.size() > 40);
    for (const QByteArray &line : seal.mid(0, seal.size() - 1)) {
        const QString path = QString::fromUtf8(line.mid(65));
        QVERIFY2(there.contains(path), line.constData());
        QCOMPARE(
            QCryptographicHash::hash(there.take(path).content, QCryptographicHash::Sha256).toHex(),
            line.left(64));
    }
    for (const Node &node : qAsConst(there)) {
        QVERIFY(node.kind != Node::Kind::File); // all of them are sealed
    }
    QVERIFY(!QFile::exists(stage.install + QLatin1Char('/') + LOCAL_MD5_FILENAME));
}

void tst_InplaceTree::bundle_withoutManifest_nothingElseStays()
{
    InplaceStage stage;
    LayNodes(stage.install, ManyKinds(1, 40).tree); // as a user drags it there
    LayNodes(stage.install, {{QStringLiteral("Contents/mine"), File("which breaks the seal")}});
    stage.publish(ManyKinds(2, 40));
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(ManyKinds(2, 40)), QString());
    QVERIFY(QFile::exists(stage.parent + QStringLiteral("/.Sample.app#previous/Contents/mine")));
}

void tst_InplaceTree::bundle_withoutItsStaging_nothingElseStays()
{
    InplaceStage stage;
    stage.lay(ManyKinds(1, 40));
    stage.publish(ManyKinds(2, 40));
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    LayNodes(stage.install, {{QStringLiteral("Contents/mine"), File("which breaks the seal")}});
    QVERIFY(QDir(stage.staging).removeRecursively());
    stage.publish(ManyKinds(3, 40));
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(ManyKinds(3, 40)), QString());
    QVERIFY(QFile::exists(stage.parent + QStringLiteral("/.Sample.app#previous/Contents/mine")));
    QVERIFY(QFile::exists(stage.staging + QLatin1Char('/') + LOCAL_MD5_FILENAME));
}

/// A newer release dragged over the installed one: its files are not the user's.
void tst_InplaceTree::bundle_replacedByHand_nothingElseStays()
{
    InplaceStage stage;
    stage.lay(ManyKinds(1, 40));
    QVERIFY(QDir(stage.install).removeRecursively());
    LayNodes(stage.install, ManyKinds(2, 40).tree);
    stage.publish(ManyKinds(3, 40));
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(ManyKinds(3, 40)), QString());
    QCOMPARE(stage.run({QStringLiteral("--undo")}), QStringLiteral("undone"));
    QCOMPARE(stage.differences(ManyKinds(2, 40)), QString());
}

void tst_InplaceTree::bundle_notReplaced_keepsTheUsersOwn_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<QByteArray>("added"); // to the property list after it was installed
    QTest::newRow("its list has another number") << 1015000 << QByteArray();
    QTest::newRow("its list was edited") << ManyKinds(1, 20).version << QByteArray("<!-- -->\n");
}

void tst_InplaceTree::bundle_notReplaced_keepsTheUsersOwn()
{
    QFETCH(int, version);
    QFETCH(QByteArray, added);
    TestRelease former = ManyKinds(1, 20);
    former.version = version;
    InplaceStage stage;
    stage.lay(former);
    const QString list = stage.install + QStringLiteral("/Contents/Info.plist");
    WriteFile(list, ReadFile(list) + added);
    const Tree users{{QStringLiteral("Contents/mine"), File("my own")}};
    LayNodes(stage.install, users);
    stage.publish(ManyKinds(2, 20));
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(ManyKinds(2, 20), users), QString());
}

void tst_InplaceTree::bundle_replacedByAFormerOne_isUpdatedAgain_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("code");
    QTest::newRow("update") << QStringList() << "updated";
    QTest::newRow("repair") << QStringList{QStringLiteral("--repair")} << "updated";
    QTest::newRow("check") << QStringList{QStringLiteral("--check")} << "available";
}

void tst_InplaceTree::bundle_replacedByAFormerOne_isUpdatedAgain()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, code);
    InplaceStage stage;
    stage.lay(ManyKinds(2, 40));
    QVERIFY(QDir(stage.install).removeRecursively());
    LayNodes(stage.install, ManyKinds(1, 40).tree);
    stage.publish(ManyKinds(2, 40));
    QCOMPARE(stage.run(arguments), code);
    const int edition = code == QLatin1String("updated") ? 2 : 1;
    QCOMPARE(stage.differences(ManyKinds(edition, 40)), QString());
}

void tst_InplaceTree::names_inOtherCase_areTheReleases()
{
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(ReleaseOf({{QStringLiteral("Lib/ReadMe"), File("a")}}, 1));
    const TestRelease release = ReleaseOf({{QStringLiteral("lib/README"), File("a")}}, 2);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release), QString());
}

void tst_InplaceTree::names_longAndOfManyLetters()
{
    const QString deep = QString(QStringLiteral("x")).repeated(200);
    const Tree tree{{QStringLiteral("é.txt"), File("composed")},
                    {QStringLiteral("ü/e\u0301.txt"), File("decomposed")},
                    {deep + QLatin1Char('/') + deep + QStringLiteral("/y"), File("deep")},
                    {QStringLiteral("a b&c'd\"e$(f)"), File("signs")},
                    {QStringLiteral("😀/🎉"), File("emoji")}};
    InplaceStage stage(QStringLiteral("安装 ü"));
    stage.lay(ReleaseOf({}, 1));
    const TestRelease release = ReleaseOf(tree, 2);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release), QString());
    TestRelease changed = ReleaseOf(tree, 3);
    for (Node &node : changed.tree) {
        node.content += '!';
    }
    stage.publish(changed);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(changed), QString());
}

void tst_InplaceTree::users_inTheWay_giveWay()
{
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(ReleaseOf({}, 1));
    LayNodes(stage.install, {{QStringLiteral("data"), File("the user's, where a folder comes")},
                             {QStringLiteral("d/deep/mine"), File("where a file comes")},
                             {QStringLiteral("l"), Link("/etc")},
                             {QStringLiteral("kept"), File("kept")}});
    const TestRelease release = ReleaseOf({{QStringLiteral("data/x"), File("x")},
                                           {QStringLiteral("d"), File("d")},
                                           {QStringLiteral("l/y"), File("y")}},
                                          2);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release, {{QStringLiteral("kept"), File("kept")}}), QString());
    QCOMPARE(ReadFile(stage.parent + QStringLiteral("/.Sample#previous/d/deep/mine")),
             QByteArray("where a file comes"));
    QVERIFY(!QFile::exists(QStringLiteral("/etc/y")));
}

void tst_InplaceTree::staging_ofAnotherRelease_isNoObstacle()
{
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(ReleaseOf({}, 1));
    const QString fetch = stage.staging + QStringLiteral("/inplace_update#fetch");
    const QString outside = stage.temporary.filePath(QStringLiteral("outside"));
    LayNodes(outside, {{QStringLiteral("f"), File("not to be touched")}});
    LayNodes(fetch, {{QStringLiteral("p"), File("of a release that was given up")},
                     {QStringLiteral("q/r/s"), File("another one")},
                     {QStringLiteral("l"), Link(outside.toUtf8())},
                     {QStringLiteral("m"), Link(outside.toUtf8() + "/f")}});
    LayNodes(stage.parent + QStringLiteral("/.Sample#new"),
             {{QStringLiteral("p"), Link(outside.toUtf8())},
              {QStringLiteral("q"), Link(outside.toUtf8() + "/f")}});
    const TestRelease release = ReleaseOf({{QStringLiteral("p/q"), File("p/q")},
                                           {QStringLiteral("q/r"), File("q/r")},
                                           {QStringLiteral("l/f"), File("l/f")},
                                           {QStringLiteral("m"), File("m")}},
                                          2);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(release), QString());
    QCOMPARE(Differences(ReadNodes(outside), {{QStringLiteral("f"), File("not to be touched")}}),
             QString());
}

/// Many of them: the worker would skip them recursively, and overflow this small stack.
void tst_InplaceTree::staging_wholeFiles_areNotFetchedAgain()
{
    const int count = Setting("UPDATER_STAGED", 5000);
    Tree tree;
    for (int number = 0; number < count; ++number) {
        tree.insert(
            QStringLiteral("%1/%2").arg(QString::number(number % 100), QString::number(number)),
            File(QByteArray::number(number)));
    }
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(ReleaseOf({}, 1));
    const TestRelease release = ReleaseOf(tree, 2);
    LayNodes(stage.staging + QStringLiteral("/inplace_update#fetch"), tree);
    stage.publish(release);
    InplaceProgram program(stage.arguments());
    QCOMPARE(program.run(QStringLiteral("ulimit -s 512")), 0);
    QCOMPARE(program.report().value(QStringLiteral("files")).toInt(), 0);
    QCOMPARE(stage.differences(release), QString());
}

void tst_InplaceTree::repair_ofRot_bringsBackExactlyThat()
{
    InplaceStage stage;
    const TestRelease release = ManyKinds(2, 300);
    stage.lay(release);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("up-to-date"));
    int rotten = 0;
    int changed = 0;
    for (auto node = release.tree.cbegin(); node != release.tree.cend(); ++node) {
        const QString path = stage.install + QLatin1Char('/') + node.key();
        if (node->kind == Node::Kind::File && !node->content.isEmpty() && rotten < 100) {
            QByteArray content = node->content;
            content[content.size() / 2] = static_cast<char>(content.at(content.size() / 2) ^ 1);
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QCOMPARE(file.write(content), qint64{content.size()});
            ++rotten;
        } else if (node->kind == Node::Kind::Link && changed++ % 2 == 0) {
            QVERIFY(QFile::remove(path));
            QVERIFY(QFile::link(QStringLiteral("elsewhere"), path));
        } else if (node->kind == Node::Kind::File && changed++ % 3 == 0) {
            QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOther));
        } else if (node->kind == Node::Kind::File && changed % 7 == 0) {
            QVERIFY(QFile::remove(path));
            ++rotten;
        }
    }
    QVERIFY(rotten > 100);
    QCOMPARE(stage.run(), QStringLiteral("up-to-date")); // the files are not checked
    QCOMPARE(stage.run({QStringLiteral("--repair")}), QStringLiteral("repaired"));
    QCOMPARE(stage.program().report().value(QStringLiteral("files")).toInt(), rotten);
    QCOMPARE(stage.differences(release), QString());
    QCOMPARE(stage.run({QStringLiteral("--repair")}), QStringLiteral("up-to-date"));
}

QTEST_GUILESS_MAIN(tst_InplaceTree)
#include "tst_inplace_tree.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeVerify.h"

#include "app/FileNames.h"
#include "tests/inplace/Trees.h"
#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(Node)

/// A tree that is not what was planned is noticed, and where.
class tst_TreeVerify : public QObject {
    Q_OBJECT

private slots:
    static void tree_altered_isNoticed_data();
    static void tree_altered_isNoticed();
    static void tree_unreadable_isSaid();
};

namespace {

TestRelease Sample()
{
    TestRelease release;
    release.tree = {{QStringLiteral("b"), File("content")},
                    {QStringLiteral("d/e"), File("program", 0755)},
                    {QStringLiteral("f"), Folder(0711)},
                    {QStringLiteral("l"), Link("b")},
                    {QStringLiteral("x"), File("last")}};
    return release;
}

} // namespace

void tst_TreeVerify::tree_altered_isNoticed_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<Node>("node"); // mode -1: it is removed
    QTest::addColumn<bool>("withManifest");
    QTest::addColumn<QString>("wrong");
    const Node gone = File({}, -1);
    const QString manifest = LOCAL_MD5_FILENAME;
    QTest::newRow("as planned") << "b" << File("content") << false << QString();
    QTest::newRow("too much, first") << "a" << File("") << false << "a";
    QTest::newRow("too much, in the midst") << "c" << Folder() << false << "c";
    QTest::newRow("too much, last") << "y" << File("") << false << "y";
    QTest::newRow("too much in a folder") << "d/d" << Link("e") << false << "d/d";
    QTest::newRow("the first one missing") << "b" << gone << false << "b";
    QTest::newRow("one in the midst missing") << "l" << gone << false << "l";
    QTest::newRow("the last one missing") << "x" << gone << false << "x";
    QTest::newRow("the user's own missing") << "mine" << gone << false << QString();
    QTest::newRow("other bytes") << "b" << File("contenT") << false << "b";
    QTest::newRow("another size") << "b" << File("content!") << false << "b";
    QTest::newRow("another mode") << "d/e" << File("program", 0644) << false << "d/e";
    QTest::newRow("another mode of a folder") << "f" << Folder(0755) << false << "f";
    QTest::newRow("another target") << "l" << Link("x") << false << "l";
    QTest::newRow("another kind") << "l" << File("b") << false << "l";
    QTest::newRow("the manifest") << manifest << File("m") << true << QString();
    QTest::newRow("the manifest, where none may be") << manifest << File("m") << false << manifest;
    QTest::newRow("the manifest in a folder")
        << "d/" + manifest << File("m") << true << "d/" + manifest;
    QTest::newRow("the manifest and too much") << "y" << File("") << true << "y";
}

void tst_TreeVerify::tree_altered_isNoticed()
{
    QFETCH(QString, path);
    QFETCH(Node, node);
    QFETCH(bool, withManifest);
    QFETCH(QString, wrong);
    const QTemporaryDir folder;
    const QByteArray root = QFile::encodeName(folder.path());
    const Tree users{{QStringLiteral("mine"), File("my own")}};
    LayNodes(folder.path(), Sample().tree);
    LayNodes(folder.path(), users);
    const ReleaseManifest release = Sample().manifest();
    TreeEntries there;
    struct stat about {};
    QCOMPARE(ListTree(root, there), QString());
    QCOMPARE(::stat(root.constData(), &about), 0);
    const TreePlan plan = PlanTree({release, &release, there, about, false, {}});

    const QString entry = folder.filePath(path);
    (void)(QFile::remove(entry) || QDir(entry).removeRecursively()); // if it is there
    if (node.mode >= 0) {
        LayNodes(folder.path(), {{path, node}});
    }
    HashedFiles hashed;
    const Problem problem = VerifyTree(root, plan, withManifest, hashed);
    QCOMPARE(problem.end, wrong.isEmpty() ? Problem().end : End::Verification);
    QCOMPARE(problem.message,
             wrong.isEmpty() ? QString() : QStringLiteral("新版本的文件%1校验不对").arg(wrong));
}

void tst_TreeVerify::tree_unreadable_isSaid()
{
    HashedFiles hashed;
    const Problem problem = VerifyTree("/nonexistent/tree", {}, false, hashed);
    QCOMPARE(problem.end, End::Storage);
    QVERIFY(problem.message.contains(QLatin1String("/nonexistent/tree")));
}

QTEST_APPLESS_MAIN(tst_TreeVerify)
#include "tst_treeverify.moc"

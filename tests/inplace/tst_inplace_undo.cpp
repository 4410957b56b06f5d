// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/Rehearsal.h"
#include "tests/support/FailingCalls.h"

#include <QtTest>

#include <cerrno>

namespace {

const QString Undo = QStringLiteral("--undo");
const QString Pending = QStringLiteral("/inplace_update#state/pending#part");
/// A file of the former tree that cannot be looked at counts as missing there.
const QStringList Refusals{QStringLiteral("storage"), QStringLiteral("nothing-ready")};
const Tree Users{{QStringLiteral("since"), File("made after the update")}};

} // namespace

/// Going back where something fails: what the user has made since stays, and so does the former
/// tree, until it is the installation.
class tst_InplaceUndo : public QObject {
    Q_OBJECT

private slots:
    void former_unreadable_usersFilesStay_data();
    void former_unreadable_usersFilesStay();
    void former_unknown_canBeTriedAgain();
};

void tst_InplaceUndo::former_unreadable_usersFilesStay_data()
{
    QTest::addColumn<Rehearsal::Scene>("scene");
    QTest::addColumn<QString>("file");
    QTest::newRow("manifest of a folder")
        << Rehearsal::Scene::PlainFolder << "around/.Sample.app#previous/update_md5.info";
    QTest::newRow("manifest of a bundle")
        << Rehearsal::Scene::OneVolume << "staging/inplace_update#state/previous";
    QTest::newRow("property list")
        << Rehearsal::Scene::OneVolume << "around/.Sample.app#previous/Contents/Info.plist";
}

/// Without its list the former tree would come back as it is, without the user's files.
void tst_InplaceUndo::former_unreadable_usersFilesStay()
{
    QFETCH(Rehearsal::Scene, scene);
    QFETCH(QString, file);
    const Rehearsal rehearsal(20, scene);
    InplaceStage &stage = *rehearsal.stage;
    FailingCalls calls(
        stage.temporary.filePath(file),
        {QStringLiteral("open-to-read"), QStringLiteral("read"), QStringLiteral("stat")});
    int count = 1; // the whole run, number 0, finds how many there are
    int refused = 0;
    for (int number = 0; number <= count; ++number) {
        rehearsal.putBack();
        QCOMPARE(stage.run(), QStringLiteral("updated"));
        LayNodes(stage.install, Users);
        InplaceProgram struck(stage.arguments({Undo}));
        struck.prefix(number == 0 ? calls.letThrough() : calls.failOnce(number, EIO));
        const bool isDone = struck.run() == 0;
        const QString where = calls.calls().value(number - 1) + QString::fromUtf8(struck.errors());
        QCOMPARE(stage.differences(isDone ? rehearsal.former : rehearsal.release, Users),
                 QString());
        QVERIFY2(isDone || Refusals.contains(struck.code()), qPrintable(where));
        if (number == 0) {
            QVERIFY(isDone);
            count = calls.count();
            QVERIFY(count > 0);
        } else if (!isDone) {
            ++refused;
            QCOMPARE(stage.run({Undo}), QStringLiteral("undone"));
            QCOMPARE(stage.differences(rehearsal.former, Users), QString());
        }
    }
    QVERIFY(refused > 0);
}

void tst_InplaceUndo::former_unknown_canBeTriedAgain()
{
    const Rehearsal rehearsal(20, Rehearsal::Scene::OneVolume);
    InplaceStage &stage = *rehearsal.stage;
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QVERIFY(QFile::remove(stage.staging + QStringLiteral("/inplace_update#state/previous")));
    QVERIFY(QDir().mkdir(stage.staging + Pending));
    QCOMPARE(stage.run({Undo}), QStringLiteral("storage"));
    QCOMPARE(stage.differences(rehearsal.release), QString());
    QVERIFY(QDir().rmdir(stage.staging + Pending));
    QCOMPARE(stage.run({Undo}), QStringLiteral("undone"));
    QCOMPARE(stage.differences(rehearsal.former), QString());
}

QTEST_GUILESS_MAIN(tst_InplaceUndo)
#include "tst_inplace_undo.moc"

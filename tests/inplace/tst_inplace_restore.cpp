// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Modes.h"
#include "inplace/Restore.h"
#include "tests/inplace/InplaceFixture.h"
#include "tests/support/OrdinaryUser.h"

#include <QtTest>

Q_DECLARE_METATYPE(Replacement)

/// Taking back what was replaced, and giving modes.
class tst_InplaceRestore : public QObject {
    Q_OBJECT

private slots:
    void init();
    void takeBackUnfinished_state_isPutRight_data();
    void takeBackUnfinished_state_isPutRight();
    void takeBackUnfinished_applied_getsItsMode();
    void takeBackUnfinished_thatCannotBe_isTold();
    void takeBackAll_state_isAsBefore_data();
    void takeBackAll_state_isAsBefore();
    void takeBackAll_folder_comesBack();
    void takeBackAll_madeFolders_areRemoved();
    void takeBackAll_oneThatCannotBe_doesNotKeepTheOthers();
    static void beginsLikeAProgram_bytes_decide_data();
    static void beginsLikeAProgram_bytes_decide();
    void settleMode_replaced_getsTheOldMode_data();
    void settleMode_replaced_getsTheOldMode();
    void settleMode_added_programsAreExecutable_data();
    void settleMode_added_programsAreExecutable();

private:
    void install(const QString &path, const QByteArray &content)
    {
        if (!content.isNull()) {
            WriteFile(m_folders->installPath(path), content);
        }
    }
    int mode(const QString &path) const
    {
        return static_cast<int>(QFile::permissions(m_folders->installPath(path))) & 0x7077;
    }

    const QString m_file = QStringLiteral("d/file");
    const QString m_old = QStringLiteral("d/file.old");
    QScopedPointer<UpdateFolders> m_folders;
};

void tst_InplaceRestore::init()
{
    m_folders.reset(new UpdateFolders);
}

void tst_InplaceRestore::takeBackUnfinished_state_isPutRight_data()
{
    QTest::addColumn<bool>("replaced"); // or added
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("old");
    QTest::addColumn<QByteArray>("fileAfter");
    QTest::addColumn<QByteArray>("oldAfter");
    const QByteArray none;
    const auto row = [](const char *rule, bool replaced, const QByteArray &file,
                        const QByteArray &old, const QByteArray &fileAfter,
                        const QByteArray &oldAfter) {
        QTest::newRow(rule) << replaced << file << old << fileAfter << oldAfter;
    };
    row("not reached", true, "before", none, "before", none);
    row("not reached, stale copy", true, "before", "stale", "before", "stale");
    row("moved aside", true, none, "before", "before", none);
    row("broken off", true, "ne", "before", "before", none);
    row("begun", true, "", "before", "before", none);
    row("done", true, "new", "before", "new", "before");
    row("changed by others, stale copy", true, "mine", "stale", "mine", "stale");
    row("changed by others, no copy", true, "mine", none, "mine", none);
    row("removed by others, stale copy", true, none, "stale", none, "stale");
    row("removed by others, no copy", true, none, none, none, none);
    row("added: not reached", false, none, none, none, none);
    row("added: not reached, stale copy", false, none, "stale", none, "stale");
    row("added: broken off", false, "ne", none, none, none);
    row("added: done", false, "new", none, "new", none);
    row("added: done, stale copy", false, "new", "stale", "new", "stale");
}

void tst_InplaceRestore::takeBackUnfinished_state_isPutRight()
{
    QFETCH(bool, replaced);
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, old);
    QFETCH(QByteArray, fileAfter);
    QFETCH(QByteArray, oldAfter);
    QVERIFY(m_folders->install.mkpath(QStringLiteral("d")));
    install(m_file, file);
    install(m_old, old);
    const Replacement replacement =
        ReplacementOf(m_file, replaced ? "before" : QByteArray(), "new");

    QCOMPARE(TakeBackUnfinished({replacement}, m_folders->install), QString());

    FileMap expected;
    if (!fileAfter.isNull()) {
        expected.insert(m_file, fileAfter);
    }
    if (!oldAfter.isNull()) {
        expected.insert(m_old, oldAfter);
    }
    QCOMPARE(ReadTree(m_folders->install), expected);
}

void tst_InplaceRestore::takeBackUnfinished_applied_getsItsMode()
{
    install(m_file, "new");
    install(m_old, "before");
    QVERIFY(QFile::setPermissions(m_folders->installPath(m_old), QFile::Permissions(0x7055)));
    QCOMPARE(TakeBackUnfinished({ReplacementOf(m_file, "before", "new")}, m_folders->install),
             QString());
    QCOMPARE(mode(m_file), 0x7055);
}

void tst_InplaceRestore::takeBackUnfinished_thatCannotBe_isTold()
{
    install(m_old, "before");
    QVERIFY(QFile::setPermissions(m_folders->installPath(QStringLiteral("d")),
                                  QFile::Permissions(0x5055)));
    m_folders->letAnyoneWrite();
    const OrdinaryUser user;
    const QString problem =
        TakeBackUnfinished({ReplacementOf(m_file, "before", "new")}, m_folders->install);
    QCOMPARE(problem, QStringLiteral("文件%1无法恢复").arg(m_folders->installPath(m_file)));
}

void tst_InplaceRestore::takeBackAll_state_isAsBefore_data()
{
    QTest::addColumn<bool>("replaced"); // or added
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("old");
    QTest::addColumn<bool>("changed");
    const QByteArray none;
    QTest::newRow("not reached") << true << QByteArray("before") << none << false;
    QTest::newRow("moved aside") << true << none << QByteArray("before") << true;
    QTest::newRow("broken off") << true << QByteArray("ne") << QByteArray("before") << true;
    QTest::newRow("done") << true << QByteArray("new") << QByteArray("before") << true;
    QTest::newRow("added: not reached") << false << none << none << false;
    QTest::newRow("added: broken off") << false << QByteArray("ne") << none << true;
    QTest::newRow("added: done") << false << QByteArray("new") << none << true;
}

void tst_InplaceRestore::takeBackAll_state_isAsBefore()
{
    QFETCH(bool, replaced);
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, old);
    QFETCH(bool, changed);
    QVERIFY(m_folders->install.mkpath(QStringLiteral("d")));
    install(m_file, file);
    install(m_old, old);
    bool wasChanged = !changed;
    QCOMPARE(TakeBackAll({ReplacementOf(m_file, replaced ? "before" : QByteArray(), "new")},
                         m_folders->install, wasChanged),
             QString());
    QCOMPARE(wasChanged, changed);
    QCOMPARE(ReadTree(m_folders->install), replaced ? FileMap({{m_file, "before"}}) : FileMap());
}

void tst_InplaceRestore::takeBackAll_folder_comesBack()
{
    Replacement replacement = ReplacementOf(m_file, {}, "new");
    replacement.before = Replacement::Before::Other;
    install(m_file, "new");
    install(QStringLiteral("d/file.old/inner"), "x");
    bool changed = false;
    QCOMPARE(TakeBackAll({replacement}, m_folders->install, changed), QString());
    QVERIFY(changed);
    QCOMPARE(ReadTree(m_folders->install), FileMap({{QStringLiteral("d/file/inner"), "x"}}));
}

void tst_InplaceRestore::takeBackAll_madeFolders_areRemoved()
{
    install(QStringLiteral("a/there"), "x");
    Replacement deep = ReplacementOf(QStringLiteral("a/b/c/new"), {}, "1");
    deep.madeFolder = QStringLiteral("a/b");
    Replacement unreached = ReplacementOf(QStringLiteral("e/new"), {}, "2"); // its folder was made
    unreached.madeFolder = QStringLiteral("e");
    Replacement halfWay = ReplacementOf(QStringLiteral("h/i/j/k/new"), {}, "4"); // two were made
    halfWay.madeFolder = QStringLiteral("h");
    QVERIFY(m_folders->install.mkpath(QStringLiteral("h/i")));
    Replacement used = ReplacementOf(QStringLiteral("u/new"), {}, "3");
    used.madeFolder = QStringLiteral("u");
    install(QStringLiteral("a/b/c/new"), "1");
    QVERIFY(m_folders->install.mkpath(QStringLiteral("e")));
    install(QStringLiteral("u/new"), "3");
    install(QStringLiteral("u/of somebody else"), "y");

    bool changed = false;
    QCOMPARE(TakeBackAll({deep, unreached, halfWay, used}, m_folders->install, changed), QString());

    QStringList left = m_folders->install.entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    QCOMPARE(left, QStringList({QStringLiteral("a"), QStringLiteral("u")}));
    left = QDir(m_folders->installPath(QStringLiteral("a")))
               .entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    QCOMPARE(left, QStringList(QStringLiteral("there")));
    QVERIFY(QFile::exists(m_folders->installPath(QStringLiteral("u/of somebody else"))));
    QVERIFY(!QFile::exists(m_folders->installPath(QStringLiteral("u/new"))));
}

void tst_InplaceRestore::takeBackAll_oneThatCannotBe_doesNotKeepTheOthers()
{
    install(m_file, "new"); // and its old copy has gone
    install(QStringLiteral("other"), "new");
    install(QStringLiteral("other.old"), "before");
    bool changed = false;
    QCOMPARE(TakeBackAll({ReplacementOf(m_file, "before", "new"),
                          ReplacementOf(QStringLiteral("other"), "before", "new")},
                         m_folders->install, changed),
             QStringLiteral("文件%1无法恢复").arg(m_folders->installPath(m_file)));
    QVERIFY(changed);
    const FileMap expected{{m_file, "new"}, {QStringLiteral("other"), "before"}};
    QCOMPARE(ReadTree(m_folders->install), expected);
}

void tst_InplaceRestore::beginsLikeAProgram_bytes_decide_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("program");
    const auto row = [](const char *rule, const QByteArray &hex, bool program) {
        QTest::newRow(rule) << QByteArray::fromHex(hex) << program;
    };
    row("script", "23212f62696e2f7368", true);
    row("short script", "2321", true);
    row("ELF", "7f454c460201010000", true);
    row("Mach-O, 32 bits", "cefaedfe0700000003", true);
    row("Mach-O, 64 bits", "cffaedfe0c00000101", true);
    row("Mach-O, 32 bits, big-endian", "feedface0000001200", true);
    row("Mach-O, 64 bits, big-endian", "feedfacf0100001200", true);
    row("two in one file", "cafebabe00000002", true);
    row("two in one large file", "cafebabf00000002", true);
    row("Java class", "cafebabe00000034", false);
    row("empty", "", false);
    row("text", "68656c6c6f2c20776f726c64", false);
    row("cut off", "cffaedfe", false);
    row("picture", "89504e470d0a1a0a", false);
}

void tst_InplaceRestore::beginsLikeAProgram_bytes_decide()
{
    QFETCH(QByteArray, bytes);
    QTEST(BeginsLikeAProgram(bytes), "program");
}

void tst_InplaceRestore::settleMode_replaced_getsTheOldMode_data()
{
    QTest::addColumn<int>("before");
    QTest::newRow("executable") << 0x7055;
    QTest::newRow("private") << 0x6000;
    QTest::newRow("read-only") << 0x4044;
}

void tst_InplaceRestore::settleMode_replaced_getsTheOldMode()
{
    QFETCH(int, before);
    install(m_file, "#!/bin/sh\n");
    install(m_old, "before");
    QVERIFY(QFile::setPermissions(m_folders->installPath(m_old), QFile::Permissions(before)));
    QVERIFY(SettleMode(ReplacementOf(m_file, "before", "#!/bin/sh\n"), m_folders->install));
    QCOMPARE(mode(m_file), before);
}

void tst_InplaceRestore::settleMode_added_programsAreExecutable_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("given");
    QTest::addColumn<int>("expected");
    QTest::newRow("script") << QByteArray("#!/bin/sh\n") << 0x6044 << 0x7055;
    QTest::newRow("private script") << QByteArray("#!/bin/sh\n") << 0x6000 << 0x7000;
    QTest::newRow("text") << QByteArray("hello, world") << 0x6044 << 0x6044;
    QTest::newRow("empty") << QByteArray("") << 0x6044 << 0x6044;
}

void tst_InplaceRestore::settleMode_added_programsAreExecutable()
{
    QFETCH(QByteArray, content);
    QFETCH(int, given);
    install(m_file, content);
    install(m_old, "stale, of an earlier update");
    QVERIFY(QFile::setPermissions(m_folders->installPath(m_file), QFile::Permissions(given)));
    QVERIFY(SettleMode(ReplacementOf(m_file, {}, content), m_folders->install));
    QTEST(mode(m_file), "expected");
}

QTEST_GUILESS_MAIN(tst_InplaceRestore)
#include "tst_inplace_restore.moc"

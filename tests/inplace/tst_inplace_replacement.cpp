// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Journal.h"
#include "tests/inplace/InplaceFixture.h"

#include <QtTest>

Q_DECLARE_METATYPE(Replacement)
Q_DECLARE_METATYPE(Standing)

/// Which files are to be replaced, what stands in their places, and how a journal keeps that.
class tst_InplaceReplacement : public QObject {
    Q_OBJECT

private slots:
    void init();
    void findReplacements_file_isListedUnlessRight_data();
    void findReplacements_file_isListedUnlessRight();
    void findReplacements_missingFolders_theTopmostIsTold();
    void findReplacements_localManifest_isBelieved();
    void standingOf_target_isRecognised_data();
    void standingOf_target_isRecognised();
    void journal_replacements_comeBack();
    void journal_noneLeft_isEmpty();
    void journal_unusable_isRefused_data();
    void journal_unusable_isRefused();
    void journal_ofAnInstallationThatIsGone_isUsed();

private:
    QString path() const { return m_folders->installPath(QStringLiteral("file")); }
    void lay(const QString &kind);
    QList<Replacement> find(const FileMap &release) const;

    QScopedPointer<UpdateFolders> m_folders;
};

void tst_InplaceReplacement::init()
{
    m_folders.reset(new UpdateFolders);
}

/// Puts something under the name "file": a content, or one of the kinds in brackets.
void tst_InplaceReplacement::lay(const QString &kind)
{
    if (kind == QStringLiteral("[folder]")) {
        QVERIFY(QDir().mkpath(path()));
    } else if (kind == QStringLiteral("[link to nothing]")) {
        QVERIFY(QFile::link(QStringLiteral("/nonexistent/target"), path()));
    } else if (kind != QStringLiteral("[nothing]")) {
        WriteFile(path(), kind.toUtf8());
    }
}

QList<Replacement> tst_InplaceReplacement::find(const FileMap &release) const
{
    return FindReplacements(ParseMd5File(ManifestOf(release)),
                            m_folders->installPath(QStringLiteral("update_md5.info")),
                            m_folders->install);
}

void tst_InplaceReplacement::findReplacements_file_isListedUnlessRight_data()
{
    using Before = Replacement::Before;
    QTest::addColumn<QString>("there");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<int>("before");
    QTest::newRow("right") << "new" << false << -1;
    QTest::newRow("other") << "old" << true << static_cast<int>(Before::File);
    QTest::newRow("empty") << "" << true << static_cast<int>(Before::File);
    QTest::newRow("nothing") << "[nothing]" << true << static_cast<int>(Before::Nothing);
    QTest::newRow("folder") << "[folder]" << true << static_cast<int>(Before::Other);
    QTest::newRow("link") << "[link to nothing]" << true << static_cast<int>(Before::Other);
}

void tst_InplaceReplacement::findReplacements_file_isListedUnlessRight()
{
    QFETCH(QString, there);
    QFETCH(bool, listed);
    QFETCH(int, before);
    lay(there);
    for (const bool localManifest : {false, true}) {
        if (localManifest) { // which lists another content: right files are left out all the same
            WriteFile(m_folders->installPath(QStringLiteral("update_md5.info")),
                      ManifestOf({{QStringLiteral("file"), "something else"}}));
        }
        const QList<Replacement> found = find({{QStringLiteral("file"), "new"}});
        QCOMPARE(found.size(), listed ? 1 : 0);
        if (listed) {
            const Replacement &replacement = found.first();
            QCOMPARE(static_cast<int>(replacement.before), before);
            QCOMPARE(replacement.oldMd5, replacement.before == Replacement::Before::File
                                             ? Md5Hash(there.toUtf8())
                                             : QByteArray());
            QCOMPARE(replacement.file.md5, Md5Hash("new"));
            QCOMPARE(replacement.file.sizeLow, 3U);
        }
    }
}

void tst_InplaceReplacement::findReplacements_missingFolders_theTopmostIsTold()
{
    WriteFile(m_folders->installPath(QStringLiteral("a/there")), "x");
    const QList<Replacement> found = find({{QStringLiteral("a/b/c/new"), "1"},
                                           {QStringLiteral("a/new"), "2"},
                                           {QStringLiteral("new"), "3"}});
    QCOMPARE(found.size(), 3);
    QCOMPARE(found.at(0).madeFolder, QStringLiteral("a/b"));
    QCOMPARE(found.at(1).madeFolder, QString());
    QCOMPARE(found.at(2).madeFolder, QString());
}

void tst_InplaceReplacement::findReplacements_localManifest_isBelieved()
{
    WriteFile(m_folders->installPath(QStringLiteral("update_md5.info")),
              ManifestOf({{QStringLiteral("file"), "new"}}));
    lay(QStringLiteral("damaged"));
    QVERIFY(find({{QStringLiteral("file"), "new"}}).isEmpty());
}

void tst_InplaceReplacement::standingOf_target_isRecognised_data()
{
    QTest::addColumn<Replacement>("replacement");
    QTest::addColumn<QString>("there");
    QTest::addColumn<Standing>("standing");
    const auto name = QStringLiteral("file");
    const Replacement file = ReplacementOf(name, "old", "new");
    const Replacement nothing = ReplacementOf(name, {}, "new");
    Replacement other = nothing;
    other.before = Replacement::Before::Other;
    const auto row = [](const char *rule, const Replacement &replacement, const QString &there,
                        Standing standing) {
        QTest::newRow(rule) << replacement << there << standing;
    };
    row("file: before", file, QStringLiteral("old"), Standing::Before);
    row("file: new", file, QStringLiteral("new"), Standing::New);
    row("file: nothing", file, QStringLiteral("[nothing]"), Standing::Nothing);
    row("file: broken off", file, QStringLiteral("ne"), Standing::Strange);
    row("file: empty", file, QString(), Standing::Strange);
    row("file: folder", file, QStringLiteral("[folder]"), Standing::Strange);
    row("nothing: before", nothing, QStringLiteral("[nothing]"), Standing::Before);
    row("nothing: new", nothing, QStringLiteral("new"), Standing::New);
    row("nothing: broken off", nothing, QStringLiteral("ne"), Standing::Strange);
    row("other: before", other, QStringLiteral("[folder]"), Standing::Before);
    row("other: link before", other, QStringLiteral("[link to nothing]"), Standing::Before);
    row("other: new", other, QStringLiteral("new"), Standing::New);
    row("other: nothing", other, QStringLiteral("[nothing]"), Standing::Nothing);
    row("other: broken off", other, QStringLiteral("ne"), Standing::Strange);
}

void tst_InplaceReplacement::standingOf_target_isRecognised()
{
    QFETCH(Replacement, replacement);
    QFETCH(QString, there);
    QFETCH(Standing, standing);
    lay(there);
    QCOMPARE(StandingOf(replacement, m_folders->install), standing);
}

void tst_InplaceReplacement::journal_replacements_comeBack()
{
    Replacement made = ReplacementOf(QStringLiteral("资源/a b/new"), {}, "new");
    made.madeFolder = QStringLiteral("资源/a b");
    Replacement other = ReplacementOf(QStringLiteral("other"), {}, "x");
    other.before = Replacement::Before::Other;
    const QList<Replacement> written{ReplacementOf(QStringLiteral("f"), "old", "new"), made, other};
    const Journal writing(m_folders->staging, m_folders->install);
    QCOMPARE(writing.write({other}), QString());
    QCOMPARE(writing.write(written), QString());

    Journal reading(m_folders->staging, m_folders->install);
    QCOMPARE(reading.read(), QString());
    QVERIFY(reading.wasLeft());
    QCOMPARE(reading.replacements().size(), 3);
    for (int i = 0; i < 3; ++i) {
        const Replacement &replacement = reading.replacements().at(i);
        QCOMPARE(replacement.file.path, written.at(i).file.path);
        QCOMPARE(replacement.file.md5, written.at(i).file.md5);
        QCOMPARE(replacement.before, written.at(i).before);
        QCOMPARE(replacement.oldMd5, written.at(i).oldMd5);
        QCOMPARE(replacement.madeFolder, written.at(i).madeFolder);
    }
    reading.remove();
    QVERIFY(ReadTree(m_folders->staging).isEmpty());
}

void tst_InplaceReplacement::journal_noneLeft_isEmpty()
{
    Journal journal(m_folders->staging, m_folders->install);
    QCOMPARE(journal.read(), QString());
    QVERIFY(!journal.wasLeft());
    QVERIFY(journal.replacements().isEmpty());
}

void tst_InplaceReplacement::journal_unusable_isRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("something else") << QByteArray("hello\n");
    QTest::newRow("another edition") << QByteArray("inplace_update journal 2\t%1\n");
    QTest::newRow("three fields") << QByteArray("inplace_update journal 1\t%1\na\tb\tc\n");
    QTest::newRow("a path that leads out")
        << QByteArray("inplace_update journal 1\t%1\na\tnothing\t\t../file\n");
    QTest::newRow("a folder that leads out")
        << QByteArray("inplace_update journal 1\t%1\na\tnothing\t..\tnew/file\n");
    QTest::newRow("cut off") << QByteArray("inplace_update journal 1\t%1\na\tb\tc\td\na\tb");
    QTest::newRow("of another installation") << QByteArray("inplace_update journal 1\t/\n");
}

void tst_InplaceReplacement::journal_unusable_isRefused()
{
    QFETCH(QByteArray, content);
    const QString install = QFileInfo(m_folders->install.path()).canonicalFilePath();
    WriteFile(m_folders->stagingPath(QStringLiteral("inplace_update#journal")),
              content.replace("%1", install.toUtf8()));
    Journal journal(m_folders->staging, m_folders->install);
    QVERIFY(!journal.read().isEmpty());
}

void tst_InplaceReplacement::journal_ofAnInstallationThatIsGone_isUsed()
{
    // The installation may have been moved since.
    WriteFile(m_folders->stagingPath(QStringLiteral("inplace_update#journal")),
              "inplace_update journal 1\t/nonexistent/install\na\tb\tc\td\n");
    Journal journal(m_folders->staging, m_folders->install);
    QCOMPARE(journal.read(), QString());
    QCOMPARE(journal.replacements().size(), 1);
}

QTEST_GUILESS_MAIN(tst_InplaceReplacement)
#include "tst_inplace_replacement.moc"

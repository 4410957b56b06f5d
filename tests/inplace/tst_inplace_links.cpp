// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeList.h"
#include "tests/inplace/InplaceStage.h"

#include <QtTest>

#include <sys/stat.h>

namespace {

const Tree Users{{QStringLiteral("mine/notes"), File("of the user", 0640)},
                 {QStringLiteral("mine/program"), File("#!/bin/sh\n", 0751)},
                 {QStringLiteral("mine/large"), File(QByteArray(600000, 'l'))},
                 {QStringLiteral("mine/link"), Link("notes")},
                 {QStringLiteral("mine/astray"), Link("/nowhere")}};

} // namespace

/// A volume without hard links: what two trees have in common is there twice.
class tst_InplaceLinks : public QObject {
    Q_OBJECT

private slots:
    void init();
    void files_areCopied();
    void former_isBroughtBack();
    void special_cannotBeCopied();

private:
    QString run(const QStringList &more = QStringList());

    std::unique_ptr<InplaceStage> m_stage;
    std::unique_ptr<InplaceProgram> m_program;
};

void tst_InplaceLinks::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
    m_stage->lay(InplaceStage::oldRelease());
    LayNodes(m_stage->install, Users);
    m_stage->publish(InplaceStage::newRelease());
}

QString tst_InplaceLinks::run(const QStringList &more)
{
    m_program = std::make_unique<InplaceProgram>(m_stage->arguments(more));
    m_program->set(QStringLiteral("LD_PRELOAD"), QStringLiteral(NO_LINKS));
    (void)m_program->run(); // a run that does not end has no code
    return m_program->code();
}

void tst_InplaceLinks::files_areCopied()
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(1000000000);
    QFile notes(m_stage->install + QStringLiteral("/mine/notes"));
    QVERIFY(notes.open(QIODevice::ReadWrite) &&
            notes.setFileTime(time, QFileDevice::FileModificationTime));
    notes.close();
    QCOMPARE(run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease(), WithFolders(Users)), QString());
    QVERIFY(!m_stage->requested().contains(QStringLiteral("/1.1.0/same")));
    QCOMPARE(QFileInfo(notes).lastModified(), time);
    TreeEntries now;
    QCOMPARE(ListTree(QFile::encodeName(m_stage->install), now), QString());
    for (const TreeEntry &entry : now) {
        QVERIFY2(entry.kind == EntryKind::Folder || entry.about.st_nlink == 1,
                 entry.path.constData());
    }
    const QString former = m_stage->parent + QStringLiteral("/.Sample#previous");
    Tree before = WithFolders(InplaceStage::oldRelease().tree);
    const Tree users = WithFolders(Users);
    for (auto node = users.cbegin(); node != users.cend(); ++node) {
        before.insert(node.key(), node.value());
    }
    QCOMPARE(Differences(WithoutManifest(ReadNodes(former)), before), QString());
}

void tst_InplaceLinks::former_isBroughtBack()
{
    QCOMPARE(run(), QStringLiteral("updated"));
    WriteFile(m_stage->install + QStringLiteral("/mine/notes"), "written since");
    QCOMPARE(run({QStringLiteral("--undo")}), QStringLiteral("undone"));
    Tree users = WithFolders(Users);
    users[QStringLiteral("mine/notes")].content = "written since";
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease(), users), QString());
    QCOMPARE(m_stage->leftovers(), QStringList());
}

void tst_InplaceLinks::special_cannotBeCopied()
{
    const QString path = m_stage->install + QStringLiteral("/mine/fifo");
    QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    QCOMPARE(run(), QStringLiteral("storage"));
    QVERIFY2(m_program->errors().contains(".Sample#new/mine/fifo"),
             m_program->errors().constData());
    QVERIFY(QFile::remove(path));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease(), WithFolders(Users)), QString());
    QCOMPARE(run(), QStringLiteral("updated"));
}

QTEST_GUILESS_MAIN(tst_InplaceLinks)
#include "tst_inplace_links.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ReleaseScan.h"
#include "tests/publish/PublishTool.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using Modes = QMap<QString, int>;
using Targets = QMap<QString, QString>;

/// Which entries of a release folder are published, and which are refused.
class tst_PublishScan : public QObject {
    Q_OBJECT

private slots:
    void init();
    void modes_ofFiles_areRefusedOrKept_data();
    void modes_ofFiles_areRefusedOrKept();
    void modes_ofFolders_areRefusedOrKept_data();
    void modes_ofFolders_areRefusedOrKept();
    void links_leadSomewhere_data();
    void links_leadSomewhere();
    void links_hundredDeep_areRefused();
    void links_deepButFew_arePublished();
    void folders_thatAreEmpty_areListed();
    void collisions_areAllReported();
    void names_ofManifestAndSignature_areTaken_data();
    void names_ofManifestAndSignature_areTaken();
    void attributes_withACodeSignature_areRefused_data();
    void attributes_withACodeSignature_areRefused();
    void release_manyEntries_isLookedThroughQuickly();
    void changes_areNoticed_data();
    void changes_areNoticed();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    void link(const QString &name, const QString &target) const;
    QStringList problems() const { return ScanRelease(m_folder->path()).problems; }

    std::unique_ptr<QTemporaryDir> m_folder;
};

namespace {

void SetMode(const QString &path, int mode)
{
    QCOMPARE(::chmod(path.toUtf8().constData(), static_cast<mode_t>(mode)), 0);
}

const QString Unpublished("\"%1\" cannot be published: %2.");
const QString Whole("The release cannot be published: %1.");
const QString SameName(R"("%1" and "%2" differ only in letter case or Unicode normalisation)");

} // namespace

void tst_PublishScan::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    SetMode(m_folder->path(), 0755);
    WriteFile(path("d/e/file"), "content");
}

void tst_PublishScan::link(const QString &name, const QString &target) const
{
    QCOMPARE(::symlink(target.toUtf8().constData(), path(name).toUtf8().constData()), 0);
}

void tst_PublishScan::modes_ofFiles_areRefusedOrKept_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("reason");
    const QString special("its mode %1 has a set-uid, set-gid or sticky bit");
    const QString others("its mode %1 lets others than its owner write (chmod go-w)");
    const QString unreadable("its mode %1 does not let its owner read it");
    for (const int mode : {0755, 0644, 0600, 0400, 0444, 0555, 0711}) {
        QTest::newRow(qPrintable(QString::number(mode, 8))) << mode << QString();
    }
    const auto row = [](int mode, const QString &reason) {
        const QString text = QStringLiteral("%1").arg(mode, 4, 8, QLatin1Char('0'));
        QTest::newRow(qPrintable(text)) << mode << reason.arg(text);
    };
    row(0000, unreadable);
    row(0244, unreadable);
    row(0055, unreadable);
    row(04755, special);
    row(02755, special);
    row(01644, special);
    row(0664, others);
    row(0646, others);
    row(0777, others);
}

void tst_PublishScan::modes_ofFiles_areRefusedOrKept()
{
    QFETCH(int, mode);
    QFETCH(QString, reason);
    SetMode(path("d/e/file"), mode);
    const ReleaseContents contents = ScanRelease(m_folder->path());
    if (!reason.isEmpty()) {
        QCOMPARE(contents.problems, QStringList(Unpublished.arg("d/e/file", reason)));
        return;
    }
    QCOMPARE(contents.problems, QStringList());
    QCOMPARE(contents.files.size(), 1);
    QCOMPARE(contents.files.constFirst().mode, mode);
}

void tst_PublishScan::modes_ofFolders_areRefusedOrKept_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("isListed");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("usual, which needs no line") << 0755 << false << false;
    QTest::newRow("for the owner") << 0700 << true << false;
    QTest::newRow("read-only") << 0555 << true << false;
    QTest::newRow("group may write") << 0775 << true << true;
    QTest::newRow("set-gid") << 02755 << true << true;
    QTest::newRow("sticky") << 01755 << true << true;
}

void tst_PublishScan::modes_ofFolders_areRefusedOrKept()
{
    QFETCH(int, mode);
    QFETCH(bool, isListed);
    QFETCH(bool, isRefused);
    SetMode(path("d/e"), mode);
    const ReleaseContents contents = ScanRelease(m_folder->path());
    SetMode(path("d/e"), 0755);
    QCOMPARE(contents.problems.size(), isRefused ? 1 : 0);
    if (isRefused) {
        QVERIFY2(
            contents.problems.constFirst().startsWith(R"("d/e" cannot be published: its mode)"),
            qPrintable(contents.problems.constFirst()));
        return;
    }
    QCOMPARE(contents.folders.size(), std::size_t(isListed ? 1 : 0));
    if (isListed) {
        QCOMPARE(contents.folders.front().path, QString("d/e"));
        QCOMPARE(contents.folders.front().mode, mode);
    }
}

void tst_PublishScan::links_leadSomewhere_data()
{
    QTest::addColumn<Targets>("links");
    QTest::addColumn<QString>("reason"); // for the link named "l" or ending in "/l"
    const QString nothing("leads to nothing");
    const QString leaves("leaves the release");
    const QString circle("leads in a circle, or through more than 32 links");
    QTest::newRow("to a file beside") << Targets{{"d/e/l", "file"}} << QString();
    QTest::newRow("to a folder") << Targets{{"l", "d/e"}} << QString();
    QTest::newRow("to a folder, separator behind") << Targets{{"l", "d/e/"}} << QString();
    QTest::newRow("to the folder above it") << Targets{{"d/e/l", ".."}} << QString();
    QTest::newRow("to its own folder") << Targets{{"d/e/l", "."}} << QString();
    QTest::newRow("to the release itself") << Targets{{"d/l", ".."}} << QString();
    QTest::newRow("up and down") << Targets{{"d/e/l", "../../d/e/file"}} << QString();
    QTest::newRow("through a link")
        << Targets{{"d/e/l", "../m/e/file"}, {"d/m", "../d"}} << QString();
    QTest::newRow("to a link") << Targets{{"l", "d/m"}, {"d/m", "e"}} << QString();
    QTest::newRow("to nothing") << Targets{{"l", "d/other"}} << nothing;
    QTest::newRow("in another letter case") << Targets{{"l", "D/e"}} << nothing;
    QTest::newRow("through a file")
        << Targets{{"l", "d/e/file/x"}} << R"(goes through the file "d/e/file")";
    QTest::newRow("to a file, separator behind")
        << Targets{{"l", "d/e/file/"}} << R"(goes through the file "d/e/file")";
    QTest::newRow("to itself") << Targets{{"l", "l"}} << circle;
    QTest::newRow("above the release") << Targets{{"l", ".."}} << leaves;
    QTest::newRow("above and back") << Targets{{"d/l", "../../x/d"}} << leaves;
    QTest::newRow("above, physically followed")
        << Targets{{"l", "m/../.."}, {"d/e/m", "."}, {"m", "d"}} << leaves;
    QTest::newRow("absolute") << Targets{{"l", "/etc/passwd"}} << "is absolute";
    QTest::newRow("absolute into the release") << Targets{{"l", "/"}} << "is absolute";
}

void tst_PublishScan::links_leadSomewhere()
{
    QFETCH(Targets, links);
    QFETCH(QString, reason);
    QString expected;
    for (auto one = links.cbegin(); one != links.cend(); ++one) {
        link(one.key(), one.value());
        if (one.key() == "l" || one.key().endsWith("/l")) {
            expected =
                QStringLiteral("the link \"%1\" -> \"%2\" %3").arg(one.key(), one.value(), reason);
        }
    }
    const ReleaseContents contents = ScanRelease(m_folder->path());
    QCOMPARE(contents.problems,
             reason.isEmpty() ? QStringList() : QStringList(Whole.arg(expected)));
    QCOMPARE(contents.links.size(), static_cast<std::size_t>(links.size()));
    QCOMPARE(contents.files.size(), 1); // none was followed
}

void tst_PublishScan::links_hundredDeep_areRefused()
{
    link("l0", "d");
    for (int number = 1; number < 100; ++number) {
        link(QStringLiteral("l%1").arg(number), QStringLiteral("l%1").arg(number - 1));
    }
    QCOMPARE(problems().size(), 68); // every system follows 32 of them
}

void tst_PublishScan::links_deepButFew_arePublished()
{
    QString deep = "deep";
    for (int number = 0; number < 100; ++number) {
        deep += "/x";
    }
    WriteFile(path(deep + "/file"), "");
    link("l", deep + "/file");
    QCOMPARE(problems(), QStringList());
}

void tst_PublishScan::folders_thatAreEmpty_areListed()
{
    QVERIFY(QDir(m_folder->path()).mkpath("d/empty"));
    QVERIFY(QDir(m_folder->path()).mkpath("z/y/x"));
    QVERIFY(QDir(m_folder->path()).mkpath("linked"));
    link("linked/l", "../d");
    const ReleaseContents contents = ScanRelease(m_folder->path());
    QCOMPARE(contents.problems, QStringList());
    QStringList paths;
    for (const ManifestFolder &folder : contents.folders) {
        paths.append(folder.path);
        QCOMPARE(folder.mode, 0755);
    }
    QCOMPARE(paths, QStringList({"d/empty", "z/y/x"}));
}

void tst_PublishScan::collisions_areAllReported()
{
    const QString composed(QStringLiteral("d/caf\u00E9"));
    const QString decomposed(QStringLiteral("d/cafe\u0301"));
    WriteFile(path(composed), "");
    WriteFile(path(decomposed), "");
    WriteFile(path("d/e/FILE"), "");
    WriteFile(path("D/other"), "");
    link("d/E", "e");
    WriteFile(path("d/e/file.OLD"), "");
    const QString kept(R"("d/e/file.OLD" takes the name reserved for the old "%1")");
    QCOMPARE(problems(),
             QStringList({Whole.arg(SameName.arg("D", "d")), Whole.arg(SameName.arg("d/E", "d/e")),
                          Whole.arg(SameName.arg(decomposed, composed)),
                          Whole.arg(SameName.arg("d/e/FILE", "d/e/file")),
                          Whole.arg(kept.arg("d/e/FILE")), Whole.arg(kept.arg("d/e/file"))}));
}

void tst_PublishScan::names_ofManifestAndSignature_areTaken_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("manifest") << "update_md5.info" << true;
    QTest::newRow("signature") << "update_md5.info.minisig" << true;
    QTest::newRow("signature in another letter case") << "Update_MD5.info.minisig" << true;
    QTest::newRow("manifest further down") << "d/update_md5.info" << false;
}

void tst_PublishScan::names_ofManifestAndSignature_areTaken()
{
    QFETCH(QString, name);
    QFETCH(bool, isTaken);
    WriteFile(path(name), "");
    QCOMPARE(problems().size(), isTaken ? 1 : 0);
}

void tst_PublishScan::attributes_withACodeSignature_areRefused_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("signature") << QByteArray("user.com.apple.cs.CodeDirectory") << true;
    QTest::newRow("another one of a signature") << QByteArray("user.com.apple.cs.x") << true;
    QTest::newRow("quarantine") << QByteArray("user.com.apple.quarantine") << false;
    QTest::newRow("alike") << QByteArray("user.com.apple.csx") << false;
}

void tst_PublishScan::attributes_withACodeSignature_areRefused()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, isRefused);
    const QByteArray file = path("d/e/file").toUtf8();
    if (::setxattr(file.constData(), "user.other", "v", 1, 0) != 0 && errno == ENOTSUP) {
        QSKIP("This file system has no extended attributes.");
    }
    QCOMPARE(::setxattr(file.constData(), name.constData(), "v", 1, 0), 0);
    const QString reason("its code signature is in an extended attribute, which a web server does "
                         "not serve");
    QCOMPARE(problems(),
             isRefused ? QStringList(Unpublished.arg("d/e/file", reason)) : QStringList());
}

void tst_PublishScan::release_manyEntries_isLookedThroughQuickly()
{
    constexpr int entries = 20000;
    for (int number = 0; number < entries; ++number) {
        const QString name = QStringLiteral("many/%1/%2")
                                 .arg(QString::number(number % 100), QString::number(number));
        if (number < 100) {
            QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("many/%1").arg(number)));
        }
        QCOMPARE(::mknod(path(name).toUtf8().constData(), S_IFREG | 0644, 0), 0);
    }
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(ScanRelease(m_folder->path()).files.size(), entries + 1);
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
}

void tst_PublishScan::changes_areNoticed_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("nothing") << "true";
    QTest::newRow("a file is read") << "cat d/e/file";
    QTest::newRow("a file is written to") << "sleep 0.02; printf CONTENT > d/e/file";
    QTest::newRow("a file gets another mode") << "chmod 755 d/e/file";
    QTest::newRow("a file comes") << "touch d/e/other";
    QTest::newRow("a file goes") << "rm d/e/file2";
    QTest::newRow("a link comes") << "ln -s file d/e/link2";
    QTest::newRow("a link leads elsewhere") << "ln -sfn . d/e/link";
    QTest::newRow("an empty folder comes") << "mkdir d/empty";
    QTest::newRow("a folder gets another mode") << "chmod 700 d/e";
    QTest::newRow("a pipe comes") << "mkfifo d/pipe";
}

void tst_PublishScan::changes_areNoticed()
{
    QFETCH(QString, command);
    WriteFile(path("d/e/file2"), "");
    link("d/e/link", "file");
    const ReleaseContents before = ScanRelease(m_folder->path());
    QProcess shell;
    shell.setWorkingDirectory(m_folder->path());
    shell.start("sh", {"-c", command});
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.exitCode(), 0);
    const bool isSame = command == "true" || command.startsWith("cat");
    QCOMPARE(IsUnchanged(before, ScanRelease(m_folder->path())), isSame);
}

QTEST_APPLESS_MAIN(tst_PublishScan)
#include "tst_publishscan.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceProgram.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/SmallVolume.h"

#include <QtTest>

#include <atomic>

namespace {

bool HasOwnMounts = false;

FileMap ReleaseFiles(int release)
{
    FileMap files;
    // Below a page, below what is written at one stroke, and above both.
    const QList<int> sizes{100, 4096, 10000, 20000, 50000};
    for (int i = 0; i < 6; ++i) {
        const auto letter = static_cast<char>('a' + i + 10 * release);
        const QByteArray content(sizes.value(i, 5000) + release, letter);
        files.insert(QStringLiteral("folder/%1").arg(i), content);
        if (release == 2) {
            files.insert(QStringLiteral("new %1/file").arg(i), content);
        }
    }
    return files;
}

/// Returns the message of a report without what differs from run to run.
QString Gist(QString report, const UpdateFolders &folders)
{
    report.remove(folders.temporary.path());
    report.replace(QRegularExpression(QStringLiteral("[0-9]+")), QStringLiteral("N"));
    return report.section(QLatin1Char('"'), 3, 3);
}

} // namespace

/// Updates on volumes that fill up while they run, each a little later than the one before:
/// UPDATER_STEP pages, or names for files.
class tst_InplaceFull : public QObject {
    Q_OBJECT

private slots:
    void update_volumeFillsUp_nothingIsLost_data();
    void update_volumeFillsUp_nothingIsLost();
    void update_ownFilesCannotGrow_nothingIsLost_data();
    void update_ownFilesCannotGrow_nothingIsLost();

private:
    QString failOnce(const UpdateFolders &folders, const ScriptedServer &server,
                     const QString &before = QString());
    void complete(const UpdateFolders &folders, const ScriptedServer &server);

    const int m_step = qEnvironmentVariableIsSet("UPDATER_STEP")
                           ? qEnvironmentVariableIntValue("UPDATER_STEP")
                           : 8;
    const FileMap m_old = ReleaseFiles(1);
    const FileMap m_new = ReleaseFiles(2);
};

/// Runs an update that may fail. Returns what it said then; nothing may be lost.
QString tst_InplaceFull::failOnce(const UpdateFolders &folders, const ScriptedServer &server,
                                  const QString &before)
{
    InplaceProgram program(server.url(QString()), folders);
    const int code = program.run(before);
    const QString report = program.report();
    const bool replaced = report.contains(QStringLiteral("\"update\":true"));
    const FileMap there = ReadTree(folders.install);
    const FileMap files = WithoutKept(there);
    if (code < 0 || LostFile(m_old, m_new, folders.install) != QString() ||
        files != (replaced ? m_new : m_old) || (code == 0 && there != Updated(m_old, m_new))) {
        QTest::qFail(qPrintable(report + QString::fromUtf8(program.errors())), __FILE__, __LINE__);
    }
    return code == 0 ? QString() : report;
}

void tst_InplaceFull::complete(const UpdateFolders &folders, const ScriptedServer &server)
{
    InplaceProgram program(server.url(QString()), folders);
    QVERIFY2(program.run() == 0, program.errors().constData());
    QVERIFY(ReadTree(folders.install) == Updated(m_old, m_new));
    QCOMPARE(ReadTree(folders.staging).keys(), QStringList());
}

void tst_InplaceFull::update_volumeFillsUp_nothingIsLost_data()
{
    QTest::addColumn<bool>("staging"); // lies on the volume
    QTest::addColumn<bool>("install");
    QTest::addColumn<bool>("names"); // run short, not room
    QTest::newRow("one volume") << true << true << false;
    QTest::newRow("one volume, names") << true << true << true;
    QTest::newRow("staging") << true << false << false;
    QTest::newRow("staging, names") << true << false << true;
    QTest::newRow("installation") << false << true << false;
    QTest::newRow("installation, names") << false << true << true;
}

void tst_InplaceFull::update_volumeFillsUp_nothingIsLost()
{
    QFETCH(bool, staging);
    QFETCH(bool, install);
    QFETCH(bool, names);
    if (!HasOwnMounts) {
        QSKIP("Volumes cannot be mounted here.");
    }
    const FileMap served = Published(m_new);
    QMap<QString, int> said;
    bool failed = true;
    int tries = 0;
    for (int left = 0; failed; left += m_step) {
        UpdateFolders folders;
        const QString mounted = folders.temporary.filePath(QStringLiteral("volume"));
        QVERIFY(QDir().mkpath(mounted));
        const SmallVolume volume(mounted, 66);
        folders.staging = staging ? QDir(mounted + QStringLiteral("/staging")) : folders.staging;
        folders.install = install ? QDir(mounted + QStringLiteral("/install")) : folders.install;
        LayInstallation(folders.install, m_old);
        std::atomic<bool> full{false};
        const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
            if (RequestedPath(request) == QStringLiteral("/release/folder/0") && !full) {
                full = true;
                names ? volume.takeAllNamesBut(left) : volume.fillAllBut(left);
            }
            ServeFiles(served)(connection, request);
        });
        const QString report = failOnce(folders, server);
        failed = !report.isEmpty();
        if (failed) {
            ++tries;
            said[Gist(report, folders)]++;
        }
        volume.makeRoom();
        complete(folders, server);
        if (QTest::currentTestFailed()) {
            qWarning("left: %d", left);
            return;
        }
    }
    for (auto text = said.cbegin(); text != said.cend(); ++text) {
        qInfo("%d times %s", text.value(), qPrintable(text.key()));
    }
    QVERIFY2(tries * m_step >= 12, QByteArray::number(tries).constData()); // a try for each file
}

void tst_InplaceFull::update_ownFilesCannotGrow_nothingIsLost_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("text");
    const auto ignore = QStringLiteral("trap '' XFSZ; ulimit -f ");
    QTest::newRow("lock") << ignore + QLatin1Char('0') << "无法写入";
    QTest::newRow("journal") << ignore + QLatin1Char('1') << "#journal";
}

void tst_InplaceFull::update_ownFilesCannotGrow_nothingIsLost()
{
    QFETCH(QString, before);
    QFETCH(QString, text);
    const UpdateFolders folders;
    LayInstallation(folders.install, m_old);
    const ScriptedServer server(ServeFiles(Published(m_new)));
    const QString report = failOnce(folders, server, before);
    QVERIFY2(report.contains(text), qPrintable(report));
    QCOMPARE(ReadTree(folders.staging).keys(), QStringList());
    complete(folders, server);
}

int main(int argc, char *argv[])
{
    HasOwnMounts = EnterOwnNamespaces(OwnMounts); // before there is a second thread
    QCoreApplication application(argc, argv);
    tst_InplaceFull test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_inplace_full.moc"

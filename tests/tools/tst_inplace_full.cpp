// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/OwnNamespaces.h"
#include "tests/tools/InplaceFixture.h"

#include <QProcess>
#include <QtTest>

#include <sys/mount.h>

namespace {

bool HasOwnMounts = false;

/// Writes until there is no room left.
void FillUp(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    for (int size = 1 << 20; size > 0; size /= 2) {
        const QByteArray block(size, 'f');
        while (file.write(block) == size) {
        }
    }
}

} // namespace

/// A volume of 128 MiB that fills up while an update runs on it.
class tst_InplaceFull : public QObject {
    Q_OBJECT

private slots:
    void update_volumeFillsUp_installationStaysWhole_data();
    void update_volumeFillsUp_installationStaysWhole();

private:
    int run(const UpdateFolders &folders, const ScriptedServer &server);

    QByteArray m_report;
};

int tst_InplaceFull::run(const UpdateFolders &folders, const ScriptedServer &server)
{
    QProcess process;
    process.start(QStringLiteral(INPLACE_UPDATE),
                  {QStringLiteral("--base-url"), server.url(QString()), QStringLiteral("--install"),
                   folders.install.path(), QStringLiteral("--staging"), folders.staging.path(),
                   QStringLiteral("--console")});
    (void)process.waitForFinished(30000);
    m_report = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void tst_InplaceFull::update_volumeFillsUp_installationStaysWhole_data()
{
    QTest::addColumn<int>("file");
    for (int file = 0; file < 4; ++file) {
        QTest::addRow("at file %d of 4", file + 1) << file;
    }
}

void tst_InplaceFull::update_volumeFillsUp_installationStaysWhole()
{
    QFETCH(int, file);
    if (!HasOwnMounts) {
        QSKIP("Volumes cannot be mounted here.");
    }
    UpdateFolders folders;
    const QByteArray volume = QFile::encodeName(folders.temporary.path());
    QCOMPARE(::mount("none", volume.constData(), "tmpfs", 0, "size=128m"), 0);
    const auto unmount =
        qScopeGuard([&volume] { (void)::umount2(volume.constData(), MNT_DETACH); });

    FileMap older;
    FileMap newer;
    for (int i = 0; i < 4; ++i) {
        older.insert(QStringLiteral("folder/%1").arg(i), QByteArray(1 << 20, static_cast<char>(i)));
        newer.insert(QStringLiteral("folder/%1").arg(i), QByteArray(2 << 20, static_cast<char>(i)));
    }
    for (auto it = older.cbegin(); it != older.cend(); ++it) {
        WriteFile(folders.installPath(it.key()), it.value());
    }
    QVERIFY(folders.staging.mkpath(QStringLiteral(".")));
    const QString filler = folders.temporary.filePath(QStringLiteral("filler"));
    const QString filledAt = QStringLiteral("/release/folder/%1").arg(file);
    const FileMap served = Published(newer);
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) == filledAt && !QFile::exists(filler)) {
            FillUp(filler);
        }
        ServeFiles(served)(connection, request);
    });

    QCOMPARE(run(folders, server), 1);
    const QString report = QString::fromUtf8(m_report);
    QVERIFY2(
        report.contains(QStringLiteral("(安装已恢复原状)\",\"success\":false,\"update\":false")),
        qPrintable(report));
    QVERIFY(ReadTree(folders.install) == older);

    QVERIFY(QFile::resize(filler, 0)); // it stays, so that the volume is not filled again
    QCOMPARE(run(folders, server), 0);
    QVERIFY(WithoutKept(ReadTree(folders.install)) == newer);
}

int main(int argc, char *argv[])
{
    HasOwnMounts = EnterOwnNamespaces(OwnMounts); // before there is a second thread
    QCoreApplication application(argc, argv);
    tst_InplaceFull test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_inplace_full.moc"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/ChildProcess.h"
#include "tests/support/TestFiles.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QStringList FilesBelow(const QString &folder)
{
    QStringList files;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        files.append(QDir(folder).relativeFilePath(entries.next()));
    }
    files.sort();
    return files;
}

} // namespace

/// What `cmake --install` installs, run from where it was installed.
class tst_Install : public QObject {
    Q_OBJECT

private slots:
    void init() { m_prefix = std::make_unique<QTemporaryDir>(); }

    void component_alone_isItsFiles_data();
    void component_alone_isItsFiles();
    void noComponent_isTheUpdaterAlone();
    void updater_installed_startsTheSamplesHost();
    void updater_file_carriesItsVersion();
    void tool_installed_showsItsHelp_data();
    void tool_installed_showsItsHelp();

private:
    void install(const QStringList &further) const;
    QString path(const char *name) const { return m_prefix->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> m_prefix;
};

void tst_Install::install(const QStringList &further) const
{
    QProcess cmake;
    cmake.start(QStringLiteral(CMAKE),
                QStringList{QStringLiteral("--install"), QStringLiteral(BUILD_DIR),
                            QStringLiteral("--prefix"), m_prefix->path()} +
                    further);
    QVERIFY(cmake.waitForFinished());
    QVERIFY2(cmake.exitCode() == 0, cmake.readAllStandardError().constData());
}

void tst_Install::component_alone_isItsFiles_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::newRow("updater") << QStringList{QStringLiteral("bin/updater"),
                                            QStringLiteral("share/updater/LICENSE"),
                                            QStringLiteral("share/updater/system.cfg")};
    QTest::newRow("publisher") << QStringList{QStringLiteral("bin/publish_update"),
                                              QStringLiteral("share/updater/LICENSE")};
    QTest::newRow("inplace") << QStringList{QStringLiteral("bin/inplace_update"),
                                            QStringLiteral("share/updater/LICENSE")};
}

void tst_Install::component_alone_isItsFiles()
{
    QFETCH(QStringList, files);
    install({QStringLiteral("--component"), QLatin1String(QTest::currentDataTag())});
    QCOMPARE(FilesBelow(m_prefix->path()), files);
}

void tst_Install::noComponent_isTheUpdaterAlone()
{
    install({});
    QCOMPARE(FilesBelow(m_prefix->path()).filter(QStringLiteral("bin/")),
             QStringList(QStringLiteral("bin/updater")));
}

void tst_Install::updater_installed_startsTheSamplesHost()
{
    install({QStringLiteral("--component"), QStringLiteral("updater")});
    QVERIFY(QFile::link(QStringLiteral("../share/updater/system.cfg"), path("bin/system.cfg")));
    const QString host = path("bin/Kestrel");
    WriteFile(host, "#!/bin/sh\nprintf '%s\\n' \"$@\" >\"$0.started\"\n");
    QVERIFY(QFile::setPermissions(host, QFile::ReadOwner | QFile::ExeOwner));

    ChildProcess updater;
    updater.start(path("bin/updater"), {QStringLiteral("restart")});
    QVERIFY(updater.waitForFinished());
    QCOMPARE(updater.exitCode(), 1); // as for every restart
    const QByteArray arguments = path("bin/updater").toUtf8() + "\nno_check\n";
    QTRY_COMPARE(ReadFile(host + QStringLiteral(".started")), arguments);
}

void tst_Install::updater_file_carriesItsVersion()
{
    install({QStringLiteral("--component"), QStringLiteral("updater")});
    QVERIFY(ReadFile(path("bin/updater"))
                .contains(QByteArray("@(#)updater " VERSION, sizeof "@(#)updater " VERSION)));
}

void tst_Install::tool_installed_showsItsHelp_data()
{
    QTest::addColumn<QString>("component");
    QTest::newRow("publish_update") << QStringLiteral("publisher");
    QTest::newRow("inplace_update") << QStringLiteral("inplace");
}

void tst_Install::tool_installed_showsItsHelp()
{
    QFETCH(QString, component);
    install({QStringLiteral("--component"), component});
    ChildProcess tool;
    tool.start(
        m_prefix->filePath(QStringLiteral("bin/%1").arg(QLatin1String(QTest::currentDataTag()))),
        {QStringLiteral("--help")});
    QVERIFY(tool.waitForFinished());
    QCOMPARE(tool.exitCode(), 0);
    QVERIFY(tool.readAllStandardOutput().contains(QTest::currentDataTag()));
}

QTEST_GUILESS_MAIN(tst_Install)
#include "tst_install.moc"

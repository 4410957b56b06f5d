// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Desktop.h"
#include "tests/support/Nginx.h"
#include "tests/support/TestFiles.h"

#include <QDirIterator>
#include <QtTest>

namespace {

using Files = QMap<QString, QByteArray>;

Files FilesBelow(const QString &folder)
{
    Files files;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        files.insert(QDir(folder).relativeFilePath(path), ReadFile(path));
    }
    return files;
}

void WriteFiles(const QString &folder, const Files &files)
{
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        WriteFile(folder + QLatin1Char('/') + file.key(), file.value());
    }
}

const Files OldRelease{
    {QStringLiteral("bin/kestrel"), "#!/bin/sh\necho 3.0.0\n"},
    {QStringLiteral("资源/图 片.dat"), QByteArray(1000, 'a')},
    {QStringLiteral("same"), "same"},
    {QStringLiteral("dropped"), "dropped"},
    {QStringLiteral("z/large"), "small"},
};
const Files NewRelease{
    {QStringLiteral("bin/kestrel"), "#!/bin/sh\necho 3.1.0\n"},
    {QStringLiteral("资源/图 片.dat"), QByteArray(5000, 'b')},
    {QStringLiteral("same"), "same"},
    {QStringLiteral("new/deep/empty"), ""},
    {QStringLiteral("z/large"), QByteArray(2000000, 'l')},
};

} // namespace

/// From a release on disk over a real web server into an installation, by the real programs.
class tst_Release : public QObject {
    Q_OBJECT

private slots:
    void init();
    void update_overWebServer_bringsTheRelease_data();
    void update_overWebServer_bringsTheRelease();
    void update_brokenInTheMiddle_isResumed();

private:
    std::unique_ptr<QProcess> startUpdate(const QStringList &further, Desktop *desktop);
    QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }
    void compareWithRelease() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<Nginx> m_server;
};

void tst_Release::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_server = std::make_unique<Nginx>();
    WriteFiles(path("installation"), OldRelease);
    WriteFiles(path("release"), NewRelease);
    QProcess publish;
    publish.start(QStringLiteral(PUBLISH_UPDATE),
                  {QStringLiteral("--version"), QStringLiteral("3.1.0"),
                   QStringLiteral("--min-version"), QStringLiteral("2.0.0"),
                   QStringLiteral("--download-url"), QStringLiteral("https://example.com/"),
                   path("release"), m_server->root()});
    QVERIFY(publish.waitForFinished());
    QCOMPARE(publish.exitCode(), 0);
}

std::unique_ptr<QProcess> tst_Release::startUpdate(const QStringList &further, Desktop *desktop)
{
    auto update = std::make_unique<ChildProcess>();
    if (desktop) {
        update->setProcessEnvironment(desktop->shownIn(QProcessEnvironment::systemEnvironment()));
    }
    update->start(QStringLiteral(INPLACE_UPDATE),
                  QStringList{QStringLiteral("--base-url"), m_server->url(),
                              QStringLiteral("--install"), path("installation"),
                              QStringLiteral("--staging"), path("staging")} +
                      further);
    return update;
}

void tst_Release::compareWithRelease() const
{
    Files installed = FilesBelow(path("installation"));
    QVERIFY(installed.remove(QStringLiteral("update_md5.info")) == 1);
    Files expected = NewRelease;
    // Nobody knows whose it is: what was installed had no manifest.
    expected.insert(QStringLiteral("dropped"), "dropped");
    QCOMPARE(installed.keys(), expected.keys());
    for (auto file = expected.cbegin(); file != expected.cend(); ++file) {
        QVERIFY2(installed.value(file.key()) == file.value(), qPrintable(file.key()));
    }
}

void tst_Release::update_overWebServer_bringsTheRelease_data()
{
    QTest::addColumn<bool>("console");
    QTest::newRow("console") << true;
    QTest::newRow("windows") << false;
}

void tst_Release::update_overWebServer_bringsTheRelease()
{
    QFETCH(bool, console);
    QVERIFY(m_server->start());
    Desktop desktop;
    QVERIFY(desktop.isUp());
    const QStringList further = console ? QStringList{QStringLiteral("--console")} : QStringList();
    const auto update = startUpdate(further, console ? nullptr : &desktop);
    QVERIFY(update->waitForFinished());
    QCOMPARE(update->exitCode(), 0);
    if (console) {
        const QByteArray report = update->readAllStandardOutput();
        QVERIFY2(report.contains(R"("code":"updated")"), report.constData());
    }
    compareWithRelease();
}

void tst_Release::update_brokenInTheMiddle_isResumed()
{
    QVERIFY(m_server->start(500000)); // some four seconds for the large file
    const auto broken = startUpdate({QStringLiteral("--console")}, nullptr);
    const QString staged = path("staging") + QStringLiteral("/inplace_update#fetch/bin/kestrel");
    QVERIFY(QTest::qWaitFor([&] { return QFile::exists(staged); }, 10000));
    QByteArray said;
    QVERIFY(QTest::qWaitFor(
        [&] {
            said += broken->readAllStandardError();
            return said.contains("large");
        },
        10000));
    m_server->kill();
    QVERIFY(broken->waitForFinished());
    QCOMPARE(broken->exitCode(), 1);
    QCOMPARE(FilesBelow(path("installation")), OldRelease);
    QVERIFY(QFile::exists(staged));

    QVERIFY(m_server->start());
    const auto resumed = startUpdate({QStringLiteral("--console")}, nullptr);
    QVERIFY(resumed->waitForFinished());
    QCOMPARE(resumed->exitCode(), 0);
    compareWithRelease();
}

QTEST_GUILESS_MAIN(tst_Release)
#include "tst_release.moc"

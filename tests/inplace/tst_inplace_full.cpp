// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/SmallVolume.h"

#include <QtTest>

#include <atomic>

namespace {

constexpr int Mebibytes = 66; // a little more than the spare space that the program requires
constexpr int Sizes[] = {100, 4096, 10000, 20000, 50000, 5000};

bool HasOwnMounts = false;

/// Files smaller than a page, smaller than one write, and larger than both; links and folders.
TestRelease Edition(int number)
{
    TestRelease release;
    release.version = number * 1000000;
    release.versionString = QString::number(number);
    char letter = 'a';
    for (const int size : Sizes) {
        const QString name(QLatin1Char(letter++));
        const QByteArray content(size + number, static_cast<char>(letter + number));
        release.tree.insert(QStringLiteral("folder/") + name, File(content));
        if (number == 2) {
            release.tree.insert(QStringLiteral("new %1/file").arg(name), File(content));
            release.tree.insert(QStringLiteral("new %1/link").arg(name), Link("file"));
        }
    }
    release.tree.insert(QStringLiteral("same"), File(QByteArray(30000, 's')));
    release.tree.insert(QStringLiteral("mode"),
                        File(QByteArray(9000, 'm'), number == 1 ? 0644 : 0755));
    return release;
}

} // namespace

/// Updates on volumes that fill up when the first file is requested, each with a little more space
/// than the one before (UPDATER_STEP pages or names), until there is enough.
class tst_InplaceFull : public QObject {
    Q_OBJECT

private slots:
    void volume_fillsUp_nothingIsLost_data();
    void volume_fillsUp_nothingIsLost();

private:
    struct Scarcity {
        bool hasStaging; ///< what is on the volume
        bool hasInstall;
        bool isOfNames; ///< names run out, not space
    };
    /// Updates with this much left, and again with enough. Puts the first report's word into \a
    /// code.
    void update(const Scarcity &scarcity, int left, QString &code);

    const TestRelease m_old = Edition(1);
    const TestRelease m_new = Edition(2);
};

void tst_InplaceFull::volume_fillsUp_nothingIsLost_data()
{
    QTest::addColumn<bool>("hasStaging");
    QTest::addColumn<bool>("hasInstall");
    QTest::addColumn<bool>("isOfNames");
    QTest::newRow("one volume") << true << true << false;
    QTest::newRow("one volume, names") << true << true << true;
    QTest::newRow("staging") << true << false << false;
    QTest::newRow("staging, names") << true << false << true;
    QTest::newRow("installation") << false << true << false;
    QTest::newRow("installation, names") << false << true << true;
}

void tst_InplaceFull::update(const Scarcity &scarcity, int left, QString &code)
{
    InplaceStage stage(QStringLiteral("Sample"));
    const QString mounted = stage.temporary.filePath(QStringLiteral("volume"));
    QVERIFY(QDir().mkpath(mounted));
    const SmallVolume volume(mounted, Mebibytes);
    if (scarcity.hasStaging) {
        stage.staging = mounted + QStringLiteral("/staging");
    }
    if (scarcity.hasInstall) {
        stage.parent = mounted + QStringLiteral("/around");
        stage.install = stage.parent + QStringLiteral("/Sample");
    }
    stage.lay(m_old);
    const FileMap files = m_new.published();
    std::atomic<bool> isFull{false};
    stage.serve([&](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request).startsWith(QLatin1String("/2/folder/")) && !isFull) {
            isFull = true;
            scarcity.isOfNames ? volume.takeAllNamesBut(left) : volume.fillAllBut(left);
        }
        ServeFiles(files)(connection, request);
    });
    code = stage.run();
    QVERIFY2(isFull, stage.program().errors().constData());
    const bool isDone = code == QLatin1String("updated");
    QCOMPARE(stage.program().exitCode(), isDone ? 0 : 1);
    // A run may fail after the exchange, when it tidies up.
    const bool isNew = stage.differences(m_new).isEmpty();
    QVERIFY(isNew || !isDone);
    QCOMPARE(isNew ? QString() : stage.differences(m_old), QString());
    volume.makeRoom();
    QCOMPARE(stage.run(), isNew ? QStringLiteral("up-to-date") : QStringLiteral("updated"));
    QCOMPARE(stage.differences(m_new), QString());
    QCOMPARE(stage.leftovers(), QStringList(QStringLiteral(".Sample#previous")));
}

void tst_InplaceFull::volume_fillsUp_nothingIsLost()
{
    QFETCH(bool, hasStaging);
    QFETCH(bool, hasInstall);
    QFETCH(bool, isOfNames);
    if (!HasOwnMounts) {
        QSKIP("Volumes cannot be mounted here.");
    }
    const int step = Setting("UPDATER_STEP", 24);
    QMap<QString, int> codes;
    for (int left = 0; !codes.contains(QStringLiteral("updated")); left += step) {
        QString code;
        update({hasStaging, hasInstall, isOfNames}, left, code);
        if (QTest::currentTestFailed()) {
            qWarning("left: %d", left);
            return;
        }
        codes[code]++;
    }
    for (auto code = codes.cbegin(); code != codes.cend(); ++code) {
        qInfo("%d times %s", code.value(), qPrintable(code.key()));
    }
    QVERIFY2(codes.size() > 1, "It has never been full.");
    // The system does not say in advance that names will run out.
    const QSet<QString> told{QStringLiteral("updated"), QStringLiteral("no-room"),
                             QStringLiteral("storage"),
                             isOfNames ? QStringLiteral("download") : QStringLiteral("storage")};
    for (auto code = codes.cbegin(); code != codes.cend(); ++code) {
        QVERIFY2(told.contains(code.key()), qPrintable(code.key()));
    }
}

int main(int argc, char *argv[])
{
    HasOwnMounts = EnterOwnNamespaces(OwnMounts); // before there is a second thread
    QCoreApplication application(argc, argv);
    tst_InplaceFull test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_inplace_full.moc"

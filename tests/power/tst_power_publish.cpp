// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/PowerTest.h"
#include "tests/publish/PublishTool.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

QString Missing;

/// The files of a release: empty, small, of a page, large; three are as in every release.
void LayRelease(const QString &folder, int release)
{
    for (int file = 0; file < 36; ++file) {
        const int edition = file < 3 ? 0 : release;
        const int size = file == 5 ? 0 : file % 12 == 7 ? 300000 + edition : 40 * file * file + 1;
        WriteFile(
            QStringLiteral("%1/d%2/e%3/f%4").arg(folder).arg(file % 5).arg(file % 3).arg(file),
            QByteArray(size, static_cast<char>('a' + (file + edition) % 26)));
    }
}

QStringList Arguments(const QString &version, const QString &release, const QString &output)
{
    return {"--version",      version,
            "--min-version",  "1.0.0",
            "--download-url", "https://www.example.com/download",
            release,          output};
}

} // namespace

/// The power fails while a release is published, and after it.
class tst_PowerPublish : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void publish_powerFails_aWholeReleaseIsServed();
    void publish_withoutSyncs_isSeenToLose();

private:
    PowerScene scene(const QStringList &wrapper);
    void publish(int release, const QString &output, const QStringList &wrapper = {}) const;
    QString lookAt(const QString &output, bool done) const;

    QTemporaryDir m_source;
    QMap<QString, QByteArray> m_old;
    QMap<QString, QByteArray> m_new;
};

void tst_PowerPublish::initTestCase()
{
    if (!Missing.isEmpty()) {
        QSKIP(qPrintable(Missing));
    }
    for (int release = 1; release <= 3; ++release) {
        LayRelease(m_source.filePath(QString::number(release)), release);
    }
    const QString output = m_source.filePath(QStringLiteral("output"));
    publish(1, output);
    m_old = Tree(output);
    publish(2, output);
    m_new = Tree(output);
    QVERIFY(m_old.size() > 36);
    QVERIFY(m_new.size() > m_old.size() + 36);
}

void tst_PowerPublish::publish(int release, const QString &output, const QStringList &wrapper) const
{
    const ToolRun run = RunPublish(Arguments(QStringLiteral("2.0.%1").arg(release),
                                             m_source.filePath(QString::number(release)), output),
                                   wrapper);
    if (run.exitCode != 0) {
        qFatal("publish_update: %s", run.errors.constData());
    }
}

/// Returns what those who fetch would miss, or empty text.
QString tst_PowerPublish::lookAt(const QString &output, bool done) const
{
    QMap<QString, QByteArray> tree = Tree(output);
    const QByteArray description = tree.value(QStringLiteral("update.json"));
    const bool isNew = description == m_new.value(QStringLiteral("update.json"));
    if (!isNew && (done || description != m_old.value(QStringLiteral("update.json")))) {
        return done ? QStringLiteral("update.json is not the new one")
                    : QStringLiteral("update.json is neither the old nor the new one");
    }
    const QMap<QString, QByteArray> &wanted = isNew ? m_new : m_old;
    for (auto file = wanted.cbegin(); file != wanted.cend(); ++file) {
        if (tree.value(file.key(), "none") != file.value()) {
            return QStringLiteral("%1 is not what it was").arg(file.key());
        }
    }
    return {};
}

PowerScene tst_PowerPublish::scene(const QStringList &wrapper)
{
    const auto output = [](const QStringList &tops) { return tops.first() + "/output"; };
    PowerScene scene;
    scene.prepare = [=](const QStringList &tops) { publish(1, output(tops)); };
    scene.act = [=](const QStringList &tops) { publish(2, output(tops), wrapper); };
    scene.judge = [=](const QStringList &tops, bool done) {
        const QString finding = lookAt(output(tops), done);
        if (!finding.isEmpty()) {
            return finding;
        }
        const ToolRun run = RunPublish(Arguments(
            QStringLiteral("2.0.3"), m_source.filePath(QStringLiteral("3")), output(tops)));
        return run.exitCode == 0 ? QString() : QString::fromUtf8(run.errors);
    };
    return scene;
}

void tst_PowerPublish::publish_powerFails_aWholeReleaseIsServed()
{
    const PowerTally tally = CutPower(QStringLiteral("publish_update"), ChosenImages(20),
                                      [this](int) { return scene({}); });
    QVERIFY2(tally.losses == 0, qPrintable(tally.text()));
}

void tst_PowerPublish::publish_withoutSyncs_isSeenToLose()
{
    const QStringList wrapper{QStringLiteral("env"), QStringLiteral("LD_PRELOAD=" NO_SYNC)};
    const PowerTally tally = CutPower(QStringLiteral("publish_update without its syncs"),
                                      ChosenImages(20) / 2, [&](int) { return scene(wrapper); });
    QVERIFY2(tally.losses > 0, qPrintable(tally.text()));
}

int main(int argc, char *argv[])
{
    EnterPowerTest(Missing);
    QCoreApplication application(argc, argv);
    tst_PowerPublish test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_power_publish.moc"

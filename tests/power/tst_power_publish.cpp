// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/PowerTest.h"
#include "tests/publish/PublishTool.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

QString Missing;

/// The files of a release: empty, small, one page, large; three are the same in every release.
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

/// A command of publish_update for an output folder.
using Command = std::function<QStringList(const QString &output)>;

} // namespace

/// The power fails while publish_update changes an output folder, and after it.
class tst_PowerPublish : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void output_powerFails_servesAWholeRelease_data();
    void output_powerFails_servesAWholeRelease();
    void output_withoutSyncs_isSeenToLose_data();
    void output_withoutSyncs_isSeenToLose();

private:
    Command publishing(int release) const;
    PowerScene scene(const QList<Command> &before, const Command &command,
                     const QStringList &wrapper = {}) const;

    QTemporaryDir m_source;
};

namespace {

void Run(const Command &command, const QString &output, const QStringList &wrapper = {})
{
    const ToolRun run = RunPublish(command(output), wrapper);
    if (run.exitCode != 0) {
        qFatal("publish_update: %s", run.errors.constData());
    }
}

Command Announcing(const QString &folder)
{
    return [=](const QString &output) {
        return QStringList{QStringLiteral("--announce"), folder, output};
    };
}

Command Pruning()
{
    return [](const QString &output) {
        return QStringList{QStringLiteral("--prune"), QStringLiteral("1"), output};
    };
}

Command Verifying()
{
    return [](const QString &output) { return QStringList{QStringLiteral("--verify"), output}; };
}

/// The files served before the command and after it.
struct Served {
    QMap<QString, QByteArray> before;
    QMap<QString, QByteArray> after;
};

QString Output(const QStringList &tops)
{
    return tops.first() + QStringLiteral("/output");
}

/// Returns what users could not fetch, or empty text.
QString Missed(const Served &served, const QString &output, bool done)
{
    const QString announcement = QStringLiteral("update.json");
    const QMap<QString, QByteArray> tree = FilesBelow(output);
    const QByteArray description = tree.value(announcement);
    const bool isAfter = description == served.after.value(announcement);
    if (!isAfter && (done || description != served.before.value(announcement))) {
        return done ? QStringLiteral("update.json is not the new one")
                    : QStringLiteral("update.json is neither the old nor the new one");
    }
    const QMap<QString, QByteArray> &wanted = isAfter ? served.after : served.before;
    for (auto file = wanted.cbegin(); file != wanted.cend(); ++file) {
        if (tree.value(file.key(), "none") != file.value()) {
            return QStringLiteral("%1 is not what it was").arg(file.key());
        }
    }
    return {};
}

} // namespace

void tst_PowerPublish::initTestCase()
{
    if (!Missing.isEmpty()) {
        QSKIP(qPrintable(Missing));
    }
    for (int release = 1; release <= 4; ++release) {
        LayRelease(m_source.filePath(QString::number(release)), release);
    }
}

Command tst_PowerPublish::publishing(int release) const
{
    const QString source = m_source.filePath(QString::number(release));
    return [=](const QString &output) {
        return QStringList{QStringLiteral("--version"),
                           QStringLiteral("2.0.%1").arg(release),
                           QStringLiteral("--min-version"),
                           QStringLiteral("1.0.0"),
                           QStringLiteral("--application"),
                           QStringLiteral("com.example.sample"),
                           QStringLiteral("--download-url"),
                           QStringLiteral("https://www.example.com/download"),
                           source,
                           output};
    };
}

PowerScene tst_PowerPublish::scene(const QList<Command> &before, const Command &command,
                                   const QStringList &wrapper) const
{
    const QTemporaryDir elsewhere;
    const QString model = elsewhere.filePath(QStringLiteral("output"));
    for (const Command &one : before) {
        Run(one, model);
    }
    Served served;
    served.before = FilesBelow(model);
    Run(command, model);
    served.after = FilesBelow(model);

    PowerScene scene;
    scene.prepare = [=](const QStringList &tops) {
        for (const Command &one : before) {
            Run(one, Output(tops));
        }
    };
    scene.act = [=](const QStringList &tops) { Run(command, Output(tops), wrapper); };
    const Command next = publishing(4);
    scene.judge = [=](const QStringList &tops, bool done) {
        QString missed = Missed(served, Output(tops), done);
        for (const Command &one : {Verifying(), next, Verifying()}) {
            const ToolRun run = missed.isEmpty() ? RunPublish(one(Output(tops))) : ToolRun();
            if (missed.isEmpty() && run.exitCode != 0) {
                missed = QString::fromUtf8(run.errors);
            }
        }
        return missed;
    };
    return scene;
}

void tst_PowerPublish::output_powerFails_servesAWholeRelease_data()
{
    QTest::addColumn<int>("action");
    QTest::addColumn<int>("share"); // of the images
    QTest::newRow("a release is published") << 0 << 2;
    QTest::newRow("a former release is announced") << 1 << 4;
    QTest::newRow("former releases are removed") << 2 << 4;
}

void tst_PowerPublish::output_powerFails_servesAWholeRelease()
{
    QFETCH(int, action);
    QFETCH(int, share);
    const QList<Command> before = action == 0
                                      ? QList<Command>{publishing(1)}
                                      : QList<Command>{publishing(1), publishing(2), publishing(3)};
    const Command commands[] = {publishing(2), Announcing(QStringLiteral("2.0.2")), Pruning()};
    const PowerTally tally =
        CutPower(QStringLiteral("publish_update, ") + QLatin1String(QTest::currentDataTag()),
                 ChosenImages(24) / share, [&](int) { return scene(before, commands[action]); });
    QVERIFY2(tally.isClean(), qPrintable(tally.text()));
}

void tst_PowerPublish::output_withoutSyncs_isSeenToLose_data()
{
    // A folder usually reaches the disk with the next file that is synced.
    AddLibrariesWithoutSyncs(false);
}

void tst_PowerPublish::output_withoutSyncs_isSeenToLose()
{
    QFETCH(QString, preloaded);
    const QStringList wrapper{QStringLiteral("env"), QStringLiteral("LD_PRELOAD=") + preloaded};
    const PowerTally tally = CutPower(
        QStringLiteral("publish_update ") + QLatin1String(QTest::currentDataTag()),
        ChosenImages(72) / 12, [&](int) { return scene({publishing(1)}, publishing(2), wrapper); });
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

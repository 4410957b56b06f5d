// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include <QtTest>

#include <climits>

namespace {

/// Makes a folder whose path is so many bytes long.
QString DeepFolder(const QString &above, int length)
{
    QString path = above;
    while (length - path.size() > 251) {
        path += QLatin1Char('/') + QString(qMin(250, length - path.size() - 3), QLatin1Char('d'));
    }
    path += QLatin1Char('/') + QString(length - path.size() - 1, QLatin1Char('d'));
    return QDir().mkpath(path) ? path : QString();
}

} // namespace

/// Names and paths that are as long as a system takes them, and longer; with UPDATER_STEP=1 of
/// every length near the limit.
class tst_InplaceNames : public QObject {
    Q_OBJECT

private slots:
    void name_length_isTakenOrRefused_data();
    void name_length_isTakenOrRefused();
    void name_characters_areTaken();
    void path_nearTheLimit_nothingIsLost_data();
    void path_nearTheLimit_nothingIsLost();
};

void tst_InplaceNames::name_length_isTakenOrRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("taken");
    const auto chinese = QStringLiteral("文").repeated(83); // 249 bytes
    QTest::newRow("251 bytes") << QString(251, QLatin1Char('n')) << true;
    QTest::newRow("252 bytes") << QString(252, QLatin1Char('n')) << false;
    QTest::newRow("255 bytes") << QString(255, QLatin1Char('n')) << false;
    QTest::newRow("251 bytes of UTF-8") << chinese + QStringLiteral("ab") << true;
    QTest::newRow("252 bytes of UTF-8") << chinese + QStringLiteral("abc") << false;
    QTest::newRow("folder of 251 bytes") << QString(251, QLatin1Char('n')) + "/file" << true;
    QTest::newRow("folder of 252 bytes") << QString(252, QLatin1Char('n')) + "/file" << false;
}

void tst_InplaceNames::name_length_isTakenOrRefused()
{
    QFETCH(QString, name);
    QFETCH(bool, taken);
    InplaceStage stage;
    WriteFile(stage.installPath(name), "old");
    const FileMap before = stage.installed();
    FileMap release = InplaceStage::newRelease();
    release.insert(name, "new");
    stage.publish(release);
    const Outcome outcome = stage.update();
    QVERIFY2(outcome.success == taken, qPrintable(outcome.message));
    if (taken) {
        QCOMPARE(ReadFile(stage.installPath(name)), QByteArray("new"));
        QCOMPARE(ReadFile(stage.installPath(name + QStringLiteral(".old"))), QByteArray("old"));
        return;
    }
    QVERIFY2(outcome.message.contains(QStringLiteral("over 251 bytes")),
             qPrintable(outcome.message));
    QCOMPARE(stage.requested().size(), 2);
    QCOMPARE(stage.installed(), before);
}

void tst_InplaceNames::name_characters_areTaken()
{
    InplaceStage stage;
    FileMap release;
    for (char c = 1; c < 127; ++c) {
        if (!QByteArray("\t\n\r\\#?%/.X").contains(c)) {
            const QString letter(QLatin1Char{c});
            const QString place = QString::number(c) + QLatin1Char('/');
            for (const QString &name : {letter + QLatin1Char('x'), QLatin1Char('x') + letter,
                                        QLatin1Char('x') + letter + QLatin1Char('x')}) {
                release.insert(place + name + QStringLiteral("/in it"), name.toUtf8());
                release.insert(place + QStringLiteral("of files/") + name, name.toUtf8());
            }
        }
    }
    for (const char *name :
         {"...", "..a", "a..", " ", "文件 名", "😀", "&amp;", "http:", "a=b&c=d"}) {
        release.insert(QString::fromUtf8(name), name);
    }
    stage.publish(release);
    const Outcome outcome = stage.update();
    QVERIFY2(outcome.success, qPrintable(outcome.message));
    FileMap installed = WithoutKept(stage.installed());
    for (const QString &old : InplaceStage::oldRelease().keys()) {
        installed.remove(old);
    }
    QVERIFY(installed == release);
}

void tst_InplaceNames::path_nearTheLimit_nothingIsLost_data()
{
    QTest::addColumn<bool>("install"); // is the long one, or the staging folder
    QTest::newRow("installation") << true;
    QTest::newRow("staging") << false;
}

void tst_InplaceNames::path_nearTheLimit_nothingIsLost()
{
    QFETCH(bool, install);
    // From where all fits to where not even the lock does.
    const int step = qEnvironmentVariableIsSet("UPDATER_STEP")
                         ? qEnvironmentVariableIntValue("UPDATER_STEP")
                         : 7;
    const QString longest = QString(40, QLatin1Char('l')) + QLatin1Char('/') + "file";
    FileMap release = InplaceStage::newRelease();
    release.insert(longest, "new");
    int successes = 0;
    QMap<QString, int> said;
    for (int length = PATH_MAX - 70; length < PATH_MAX - 6; length += step) {
        InplaceStage stage;
        stage.publish(release);
        QDir &folder = install ? stage.folders.install : stage.folders.staging;
        const QString deep = DeepFolder(stage.folders.temporary.path(), length);
        QVERIFY2(!deep.isEmpty(), QByteArray::number(length).constData());
        folder = QDir(deep);
        if (install) {
            FileMap old = InplaceStage::oldRelease();
            old.insert(longest, "old");
            for (auto file = old.cbegin(); file != old.cend(); ++file) {
                if (length + 1 + file.key().size() < PATH_MAX) {
                    WriteFile(stage.installPath(file.key()), file.value());
                }
            }
        }
        const FileMap before = stage.installed();
        const Outcome outcome = stage.update();
        QVERIFY(!outcome.message.isEmpty());
        const FileMap expected = outcome.update ? Updated(before, release) : before;
        QCOMPARE(WithoutKept(stage.installed()), WithoutKept(expected));
        successes += outcome.success ? 1 : 0;
        QString gist = outcome.message;
        said[gist.replace(deep, QStringLiteral("DIR"))]++;
    }
    for (auto text = said.cbegin(); text != said.cend(); ++text) {
        qInfo("%d times %s", text.value(), qPrintable(text.key()));
    }
    QVERIFY(successes > 0 && said.size() > 1);
}

QTEST_GUILESS_MAIN(tst_InplaceNames)
#include "tst_inplace_names.moc"

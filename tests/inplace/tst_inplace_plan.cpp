// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreePlan.h"
#include "tests/inplace/Trees.h"

#include <QtTest>

/// What is planned without looking at a disk again.
class tst_InplacePlan : public QObject {
    Q_OBJECT

private slots:
    void users_spelledOtherwise_data();
    void users_spelledOtherwise();
};

void tst_InplacePlan::users_spelledOtherwise_data()
{
    QTest::addColumn<bool>("isOne");
    QTest::addColumn<QByteArrayList>("planned");
    QTest::newRow("a volume that takes them for one name")
        << true << QByteArrayList{"README", "data", "data/deep", "data/deep/mine",
                                  "data/x", "kept", "\xC3\x89"};
    QTest::newRow("a volume that keeps names apart")
        << false << QByteArrayList{"Data",      "Data/X", "Data/deep", "Data/deep/mine",
                                   "E\xCC\x81", "README", "ReadMe",    "Update_MD5.info",
                                   "data",      "data/x", "kept",      "\xC3\x89"};
}

/// There is no such volume on Linux: its answer is made by folding the names.
void tst_InplacePlan::users_spelledOtherwise()
{
    QFETCH(bool, isOne);
    QFETCH(QByteArrayList, planned);
    const QTemporaryDir folder;
    LayNodes(folder.path(), {{QStringLiteral("Data/deep/mine"), File("mine")},
                             {QStringLiteral("Data/X"), File("mine")},
                             {QStringLiteral("ReadMe"), File("mine")},
                             {QStringLiteral("E\u0301"), File("mine")},
                             {QStringLiteral("Update_MD5.info"), File("mine")},
                             {QStringLiteral("kept"), File("mine")}});
    TestRelease release;
    release.tree = {{QStringLiteral("data/x"), File("x")},
                    {QStringLiteral("README"), File("r")},
                    {QStringLiteral("\u00C9"), File("e")}};
    const ReleaseManifest manifest = release.manifest();
    TreeEntries there;
    QCOMPARE(ListTree(QFile::encodeName(folder.path()), there), QString());
    const auto isSame = [isOne](const QByteArray &one, const QByteArray &other) {
        const auto folded = [](const QByteArray &path) {
            return QString::fromUtf8(path).normalized(QString::NormalizationForm_D).toLower();
        };
        return isOne && folded(one) == folded(other);
    };
    const TreePlan plan = PlanTree({manifest, nullptr, there, {}, false, isSame});
    QByteArrayList paths;
    for (const PlannedEntry &entry : plan) {
        paths << entry.path;
        if (entry.path.endsWith("/mine")) {
            QVERIFY(entry.from == PlannedEntry::From::User);
        }
    }
    QCOMPARE(paths, planned);
}

QTEST_APPLESS_MAIN(tst_InplacePlan)
#include "tst_inplace_plan.moc"

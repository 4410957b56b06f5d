// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/// Compares an update of the four files a, b, c and d with an installation.
class tst_CheckMd5 : public QObject {
    Q_OBJECT

private slots:
    void init();
    void checkMd5_noLocalManifest_hashesTheFiles();
    void checkMd5_localManifest_isTrusted_data();
    void checkMd5_localManifest_isTrusted();
    void checkMd5_partialLocalManifest_hashesTheRest();
    void checkMd5_localOnlyEntries_neverAppear();
    void checkMd5_emptyUpdate_givesNothing();
    void checkMd5_sizes_playNoPart();
    void checkMd5_keysThatAreNoPaths_pathsDecide();
    void checkMd5_result_holdsTheUpdatesRecords();

private:
    static tagDownloadFileInfo record(const QString &path, const QByteArray &content);
    void write(const QString &name, const QByteArray &content) const;
    QStringList toFetch() const;

    QScopedPointer<QTemporaryDir> m_folder;
    QDir m_root;
    QString m_localManifest;
    QMap<QString, tagDownloadFileInfo> m_update;
};

tagDownloadFileInfo tst_CheckMd5::record(const QString &path, const QByteArray &content)
{
    tagDownloadFileInfo info;
    info.path = path;
    info.sizeLow = static_cast<quint32>(content.size());
    info.md5 = Md5Hash(content);
    return info;
}

void tst_CheckMd5::write(const QString &name, const QByteArray &content) const
{
    QFile file(m_root.absoluteFilePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64{content.size()});
}

QStringList tst_CheckMd5::toFetch() const
{
    return CheckMd5(m_update, m_localManifest, m_root).keys();
}

void tst_CheckMd5::init()
{
    m_folder.reset(new QTemporaryDir);
    m_root = QDir(m_folder->path());
    m_localManifest = m_root.absoluteFilePath(QStringLiteral("local.info"));
    m_update.clear();
    for (const char *name : {"a", "b", "c", "d"}) {
        const QString path = QLatin1String(name);
        m_update.insert(path, record(path, name));
    }
}

void tst_CheckMd5::checkMd5_noLocalManifest_hashesTheFiles()
{
    write(QStringLiteral("a"), "a");
    write(QStringLiteral("b"), "something else");
    QVERIFY(m_root.mkdir(QStringLiteral("d")));
    const QStringList expected{QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d")};
    QCOMPARE(toFetch(), expected);

    m_localManifest = m_root.path(); // a directory cannot be opened either
    QCOMPARE(toFetch(), expected);
}

void tst_CheckMd5::checkMd5_localManifest_isTrusted_data()
{
    QTest::addColumn<QByteArray>("listed");
    QTest::addColumn<bool>("onDisk");
    QTest::addColumn<bool>("fetched");
    QTest::newRow("same text, file missing") << Md5Hash("a") << false << false;
    QTest::newRow("same text, file right") << Md5Hash("a") << true << false;
    QTest::newRow("other text, file missing") << Md5Hash("x") << false << true;
    QTest::newRow("other text, file right") << Md5Hash("x") << true << true;
    QTest::newRow("text in capitals, file right") << Md5Hash("a").toUpper() << true << true;
    QTest::newRow("empty text, file right") << QByteArray() << true << true;
}

void tst_CheckMd5::checkMd5_localManifest_isTrusted()
{
    QFETCH(QByteArray, listed);
    QFETCH(bool, onDisk);
    QFETCH(bool, fetched);
    m_update = {{QStringLiteral("a"), record(QStringLiteral("a"), "a")}};
    if (onDisk) {
        write(QStringLiteral("a"), "a");
    }
    write(QStringLiteral("local.info"), listed + "\t1\ta\n");
    QCOMPARE(!toFetch().isEmpty(), fetched);
}

void tst_CheckMd5::checkMd5_partialLocalManifest_hashesTheRest()
{
    write(QStringLiteral("a"), "a");       // not listed, right
    write(QStringLiteral("d"), "damaged"); // listed as right
    write(QStringLiteral("local.info"),    // b is not listed and missing, c listed with old text
          "x\t1\tc\n" + Md5Hash("d") + "\t1\td\n");
    QCOMPARE(toFetch(), QStringList({QStringLiteral("b"), QStringLiteral("c")}));
}

void tst_CheckMd5::checkMd5_localOnlyEntries_neverAppear()
{
    QByteArray local;
    for (const char *name : {"0", "a", "aa", "b", "bb", "c", "cc", "d", "dd"}) {
        local += Md5Hash(name) + "\t1\t" + name + '\n';
    }
    write(QStringLiteral("aa"), "a file that the update dropped");
    write(QStringLiteral("local.info"), local);
    QCOMPARE(toFetch(), QStringList());
    QVERIFY(m_root.exists(QStringLiteral("aa")));
}

void tst_CheckMd5::checkMd5_emptyUpdate_givesNothing()
{
    m_update.clear();
    write(QStringLiteral("local.info"), Md5Hash("a") + "\t1\ta\n");
    QCOMPARE(toFetch(), QStringList());
}

void tst_CheckMd5::checkMd5_sizes_playNoPart()
{
    for (tagDownloadFileInfo &info : m_update) {
        info.sizeHigh = 77;
        info.sizeLow = 99;
    }
    write(QStringLiteral("a"), "a");
    write(QStringLiteral("local.info"),
          Md5Hash("b") + "\t5\tb\n" + Md5Hash("c") + "\t6\tc\n" + Md5Hash("d") + "\tzz\td\n");
    QCOMPARE(toFetch(), QStringList());
}

void tst_CheckMd5::checkMd5_keysThatAreNoPaths_pathsDecide()
{
    m_update = {{QStringLiteral("1"), record(QStringLiteral("z"), "z")},
                {QStringLiteral("2"), record(QStringLiteral("b"), "b")},
                {QStringLiteral("3"), record(QStringLiteral("a"), "a")}};
    write(QStringLiteral("local.info"),
          Md5Hash("a") + "\t1\ta\n" + "x\t1\tb\n" + Md5Hash("z") + "\t1\tz\n");
    QCOMPARE(toFetch(), QStringList(QStringLiteral("b")));
}

void tst_CheckMd5::checkMd5_result_holdsTheUpdatesRecords()
{
    m_update[QStringLiteral("b")].sizeHigh = 2;
    m_update[QStringLiteral("c")].sizeHigh = 3;
    write(QStringLiteral("local.info"), "old\t700000005\tc\n"); // b is hashed, c is listed
    const QMap<QString, tagDownloadFileInfo> result = CheckMd5(m_update, m_localManifest, m_root);
    QCOMPARE(result.size(), 4);
    for (const char *name : {"b", "c"}) {
        const tagDownloadFileInfo info = result.value(QLatin1String(name));
        QCOMPARE(info.path, QLatin1String(name));
        QCOMPARE(info.sizeHigh, *name == 'b' ? 2U : 3U);
        QCOMPARE(info.sizeLow, 1U);
        QCOMPARE(info.md5, Md5Hash(name));
    }
}

QTEST_APPLESS_MAIN(tst_CheckMd5)
#include "tst_checkmd5.moc"

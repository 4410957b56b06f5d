// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "tests/support/OrdinaryUser.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <clocale>

namespace {

const QByteArray Empty = "d98c1dd404b2008f980980e97e42f8ec";
const QByteArray Abc = "98500190b04fd23c7d3f96d6727fe128";

} // namespace

class tst_Md5 : public QObject {
    Q_OBJECT

private slots:
    static void md5Hash_reference_isTheWordOrderedText_data();
    static void md5Hash_reference_isTheWordOrderedText();
    void checkFileMd5_text_mustBeEqualByteForByte_data();
    void checkFileMd5_text_mustBeEqualByteForByte();
    void checkFileMd5_readOnlyFile_isReadAndLeftAlone();
    void checkFileMd5_unreadable_isFalse_data();
    void checkFileMd5_unreadable_isFalse();
    void strupr_andStrlwr_changeLettersInPlace_data();
    void strupr_andStrlwr_changeLettersInPlace();
    void strupr_andStrlwr_tolerateNull();

private:
    QString write(const QString &name, const QByteArray &content) const;

    QTemporaryDir m_folder;
};

QString tst_Md5::write(const QString &name, const QByteArray &content) const
{
    QFile file(m_folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("The test's own file cannot be written.");
    }
    return file.fileName();
}

void tst_Md5::md5Hash_reference_isTheWordOrderedText_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray() << Empty;
    QTest::newRow("abc") << QByteArray("abc") << Abc;
    QTest::newRow("a NUL is a byte like any other")
        << QByteArray("abc\0", 4) << QByteArray("4a667a140941a92c8619e6112ad5f0d3");
}

void tst_Md5::md5Hash_reference_isTheWordOrderedText()
{
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, text);
    QCOMPARE(Md5Hash(data), text);
}

void tst_Md5::checkFileMd5_text_mustBeEqualByteForByte_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("equal");
    QTest::newRow("empty file") << QByteArray() << Empty << true;
    QTest::newRow("empty file, usual order")
        << QByteArray() << QByteArray("d41d8cd98f00b204e9800998ecf8427e") << false;
    QTest::newRow("content") << QByteArray("abc") << Abc << true;
    QTest::newRow("CR LF is content like any other")
        << QByteArray("a\r\nb\r\n") << Md5Hash("a\r\nb\r\n") << true;
    QTest::newRow("CR LF is not LF") << QByteArray("a\r\nb\r\n") << Md5Hash("a\nb\n") << false;
    QTest::newRow("other content") << QByteArray("abd") << Abc << false;
    QTest::newRow("upper case") << QByteArray("abc") << Abc.toUpper() << false;
    QTest::newRow("blank in front") << QByteArray("abc") << ' ' + Abc << false;
    QTest::newRow("blank behind") << QByteArray("abc") << Abc + ' ' << false;
    QTest::newRow("NUL behind") << QByteArray("abc") << Abc + '\0' << false;
    QTest::newRow("only the beginning") << QByteArray("abc") << Abc.left(31) << false;
    QTest::newRow("no text") << QByteArray("abc") << QByteArray() << false;
}

void tst_Md5::checkFileMd5_text_mustBeEqualByteForByte()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, text);
    QTEST(CheckFileMd5(write(QStringLiteral("file"), content), text), "equal");
}

void tst_Md5::checkFileMd5_readOnlyFile_isReadAndLeftAlone()
{
    const QString path = write(QStringLiteral("read-only"), "abc");
    QVERIFY(QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7055)));
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x4044)));
    const QDateTime modified = QFileInfo(path).lastModified();
    {
        const OrdinaryUser user; // to whom permissions apply
        QVERIFY(CheckFileMd5(path, Abc));
    }
    QCOMPARE(QFileInfo(path).lastModified(), modified);
    QCOMPARE(QFileInfo(path).size(), 3);
    QVERIFY(QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7000)));
}

void tst_Md5::checkFileMd5_unreadable_isFalse_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << m_folder.filePath(QStringLiteral("missing"));
    QTest::newRow("directory") << m_folder.path();
    QTest::newRow("no path") << QString();
    QTest::newRow("no permission") << write(QStringLiteral("locked"), QByteArray());
}

void tst_Md5::checkFileMd5_unreadable_isFalse()
{
    QFETCH(QString, path);
    const OrdinaryUser user; // who may not look into the folder
    QVERIFY(!CheckFileMd5(path, Empty));
}

void tst_Md5::strupr_andStrlwr_changeLettersInPlace_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("upper");
    QTest::addColumn<QByteArray>("lower");
    QTest::newRow("empty") << QByteArray("") << QByteArray("") << QByteArray("");
    QTest::newRow("letters and others")
        << QByteArray("aZ-09 [z]") << QByteArray("AZ-09 [Z]") << QByteArray("az-09 [z]");
    QTest::newRow("bytes beyond ASCII stay in the C locale")
        << QByteArray("\xE4\xC4z") << QByteArray("\xE4\xC4Z") << QByteArray("\xE4\xC4z");
    QTest::newRow("ends at NUL") << QByteArray("aA\0aA", 5) << QByteArray("AA\0aA", 5)
                                 << QByteArray("aa\0aA", 5);
}

void tst_Md5::strupr_andStrlwr_changeLettersInPlace()
{
    QFETCH(QByteArray, text);
    std::setlocale(LC_CTYPE, "C"); // the locale decides what a letter is

    QByteArray upper = text;
    QCOMPARE(static_cast<void *>(strupr(upper.data())), static_cast<void *>(upper.data()));
    QTEST(upper, "upper");

    QByteArray lower = text;
    QCOMPARE(static_cast<void *>(strlwr(lower.data())), static_cast<void *>(lower.data()));
    QTEST(lower, "lower");
}

void tst_Md5::strupr_andStrlwr_tolerateNull()
{
    QVERIFY(strupr(nullptr) == nullptr);
    QVERIFY(strlwr(nullptr) == nullptr);
}

QTEST_APPLESS_MAIN(tst_Md5)
#include "tst_md5.moc"

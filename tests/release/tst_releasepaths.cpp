// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleasePaths.h"

#include "core/Func.h"

#include <QtTest>

class tst_ReleasePaths : public QObject {
    Q_OBJECT

private slots:
    static void unsafePathReason_path_isFoundSafe_data();
    static void unsafePathReason_path_isFoundSafe();
    static void unsafePathReason_path_isRefusedWithTheReason_data();
    static void unsafePathReason_path_isRefusedWithTheReason();
    static void unsafePathReason_everySafeCharacter_survivesManifestAndAddress();
    static void collisionReason_paths_standTogether_data();
    static void collisionReason_paths_standTogether();
    static void collisionReason_paths_areRefusedWithTheReason_data();
    static void collisionReason_paths_areRefusedWithTheReason();
};

namespace {

const QString Composed = QString(QChar(0xE9));                 // e acute
const QString Decomposed = QStringLiteral("e") + QChar(0x301); // the same as two characters
const QString Folder = QStringLiteral("Contents/MacOS/");

} // namespace

void tst_ReleasePaths::unsafePathReason_path_isFoundSafe_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("one name") << "a";
    QTest::newRow("folders") << "Contents/MacOS/Host";
    QTest::newRow("hidden file") << ".hidden/.file";
    QTest::newRow("three dots") << ".../a";
    QTest::newRow("file of a dot and a letter") << "a/.x";
    QTest::newRow("blank inside") << "a b/c d";
    QTest::newRow("blank at both ends") << " a ";
    QTest::newRow("Chinese letters") << QStringLiteral("资源/图.png");
    QTest::newRow("letter beyond 16 bits") << QString::fromUtf8("\xF0\x9F\x98\x80.png");
    QTest::newRow("251 bytes") << Folder + QString(251, 'n');
    QTest::newRow("251 bytes decomposed") << QString(83, QChar(0xE9)) + "nn";
    QTest::newRow("1023 bytes in all") << QString("nnnnnnn/").repeated(127) + QString(7, 'n');
    QTest::newRow("long path of short names") << QString(200, 'n') + "/" + QString(200, 'm');
}

void tst_ReleasePaths::unsafePathReason_path_isFoundSafe()
{
    QFETCH(QString, path);
    QCOMPARE(UnsafePathReason(path), QString());
}

void tst_ReleasePaths::unsafePathReason_path_isRefusedWithTheReason_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    const QString address("it contains '%1', which has a special meaning in a web address");
    const QString tooLong("it has a name over 251 bytes in its decomposed form");
    const QString utf8("it does not survive UTF-8 unchanged");
    const QString empty("it has an empty component");
    QTest::newRow("empty") << ""
                           << "it is empty";
    QTest::newRow("absolute") << "/a"
                              << "it is absolute";
    QTest::newRow("only a separator") << "/"
                                      << "it is absolute";
    QTest::newRow("separator at the end") << "a/" << empty;
    QTest::newRow("two separators") << "a//b" << empty;
    QTest::newRow("dot") << "."
                         << R"(it has a "." component)";
    QTest::newRow("dot inside") << "a/./b"
                                << R"(it has a "." component)";
    QTest::newRow("two dots first") << "../a"
                                    << R"(it has a ".." component)";
    QTest::newRow("two dots inside") << "a/../b"
                                     << R"(it has a ".." component)";
    const QString lost("it has a folder named '.' and one character, which web addresses lose");
    QTest::newRow("dot and a letter") << ".x/a" << lost;
    QTest::newRow("dot and a Chinese letter") << QStringLiteral("a/.文/b") << lost;
    QTest::newRow("two dots last") << "a/.."
                                   << R"(it has a ".." component)";
    QTest::newRow("NUL") << QString("a") + QChar(0) + "b"
                         << "it contains a NUL";
    QTest::newRow("TAB") << "a\tb"
                         << "it contains a TAB, which separates the manifest's fields";
    QTest::newRow("LF") << "a\nb"
                        << "it contains a line feed, which ends the manifest's lines";
    QTest::newRow("CR") << "a\rb"
                        << "it contains a carriage return, which ends the manifest's lines";
    QTest::newRow("backslash")
        << "a\\b"
        << "it contains a backslash, which the manifest takes for a separator";
    QTest::newRow("number sign") << "a#b" << address.arg('#');
    QTest::newRow("question mark") << "a?b" << address.arg('?');
    QTest::newRow("percent") << "a%b" << address.arg('%');
    QTest::newRow("undecodable byte") << QFile::decodeName("a\xFF") << utf8;
    QTest::newRow("lone surrogate") << QString(QChar(0xD800)) << utf8;
    QTest::newRow("byte order mark first") << QString(QChar(QChar::ByteOrderMark)) + "a" << utf8;
    QTest::newRow("252 bytes") << Folder + QString(252, 'n') << tooLong;
    QTest::newRow("252 bytes in a folder's name") << QString(252, 'n') + "/a" << tooLong;
    const QString longPath = QString("nnnnnnn/").repeated(127);
    QTest::newRow("1024 bytes in all")
        << longPath + QString(8, 'n') << "it has over 1023 bytes in its decomposed form";
    QTest::newRow("1024 bytes in all only decomposed")
        << longPath + "nnnnnn" + QChar(0xE9) << "it has over 1023 bytes in its decomposed form";
    QTest::newRow("252 bytes only decomposed") << QString(84, QChar(0xE9)) << tooLong;
}

void tst_ReleasePaths::unsafePathReason_path_isRefusedWithTheReason()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);
    QCOMPARE(UnsafePathReason(path), reason);
}

/// A character at any position is either refused, or means the same to the manifest's reader and to
/// a web server that decodes the percent encoding.
void tst_ReleasePaths::unsafePathReason_everySafeCharacter_survivesManifestAndAddress()
{
    int safe = 0;
    const auto isOneOfManyAlike = [](uint code) { return code >= 0x3100 && code < 0xF900; };
    for (uint code = 1; code < 0x10000; code += isOneOfManyAlike(code) ? 97 : 1) {
        const QString character(QChar{code});
        for (const QString &path : {character, "a" + character + "/b"}) {
            if (!UnsafePathReason(path).isEmpty()) {
                continue;
            }
            ++safe;
            const auto records = ParseMd5File("m\t1\t" + path.toUtf8());
            const QUrl url("http://127.0.0.1/release/" + path);
            const bool survives =
                records.contains(path) &&
                QUrl::fromPercentEncoding(url.toEncoded()) == "http://127.0.0.1/release/" + path;
            QVERIFY2(survives, qPrintable(QString::number(code, 16)));
        }
    }
    QVERIFY2(safe > 2 * 14000, qPrintable(QString::number(safe)));
}

void tst_ReleasePaths::collisionReason_paths_standTogether_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::newRow("none") << QStringList();
    QTest::newRow("one folder for many") << QStringList{"d/a", "d/b", "d/e/a", "a"};
    QTest::newRow("one name the beginning of another") << QStringList{"a", "ab", "ab.c/d"};
    QTest::newRow("only the old name") << QStringList{"a.old", "b"};
    QTest::newRow("old name in another folder") << QStringList{"a", "d/a.old"};
    QTest::newRow("folder beside its old name") << QStringList{"d/a", "d.old"};
    QTest::newRow("manifest's name deeper down") << QStringList{"d/update_md5.info"};
}

void tst_ReleasePaths::collisionReason_paths_standTogether()
{
    QFETCH(QStringList, paths);
    QCOMPARE(CollisionReason(paths), QString());
    std::reverse(paths.begin(), paths.end());
    QCOMPARE(CollisionReason(paths), QString());
}

void tst_ReleasePaths::collisionReason_paths_areRefusedWithTheReason_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QString>("reason");
    const QString same(R"("%1" and "%2" differ only in letter case or Unicode normalisation)");
    const QString old(R"("%1" takes the name reserved for the old "%2")");
    QTest::newRow("same path") << QStringList{"a", "a"} << R"("a" is listed twice)";
    QTest::newRow("letter case") << QStringList{"a/Read.me", "a/README", "a/readme"}
                                 << same.arg("a/README", "a/readme");
    QTest::newRow("letter case of a folder") << QStringList{"A/x", "a/y"} << same.arg("A", "a");
    QTest::newRow("normalisation")
        << QStringList{Composed, Decomposed} << same.arg(Composed, Decomposed);
    QTest::newRow("normalisation of a folder")
        << QStringList{Composed + "/x", Decomposed + "/y"} << same.arg(Composed, Decomposed);
    QTest::newRow("parent first") << QStringList{"a", "a/b"}
                                  << R"("a" is both a file and the folder of "a/b")";
    QTest::newRow("parent last") << QStringList{"a/b/c", "a"}
                                 << R"("a" is both a file and a folder)";
    QTest::newRow("parent in another letter case")
        << QStringList{"A", "a/b"} << R"("A" is both a file and the folder of "a/b")";
    QTest::newRow("old name") << QStringList{"d/a", "d/a.old"} << old.arg("d/a.old", "d/a");
    QTest::newRow("old name first") << QStringList{"a.old", "a"} << old.arg("a.old", "a");
    QTest::newRow("old name in another letter case")
        << QStringList{"a", "A.OLD"} << old.arg("A.OLD", "a");
    QTest::newRow("old name of a folder") << QStringList{"a", "a.old/b"} << old.arg("a.old", "a");
    QTest::newRow("manifest") << QStringList{"a", "update_md5.info"}
                              << R"("update_md5.info" takes the manifest's own name)";
    QTest::newRow("manifest in another letter case")
        << QStringList{"Update_MD5.info"} << R"("Update_MD5.info" takes the manifest's own name)";
    QTest::newRow("manifest as a folder") << QStringList{"update_md5.info/a"}
                                          << R"("update_md5.info/a" takes the manifest's own name)";
    QTest::newRow("name of the signature")
        << QStringList{"Update_md5.info.MINISIG"}
        << R"("Update_md5.info.MINISIG" takes the name of the manifest's signature)";
}

void tst_ReleasePaths::collisionReason_paths_areRefusedWithTheReason()
{
    QFETCH(QStringList, paths);
    QFETCH(QString, reason);
    QCOMPARE(CollisionReason(paths), reason);
}

QTEST_APPLESS_MAIN(tst_ReleasePaths)
#include "tst_releasepaths.moc"

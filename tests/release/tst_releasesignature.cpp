// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleaseSignature.h"

#include "tests/support/SigningKey.h"

#include <QtTest>

#include <memory>
#include <sodium.h>

/// Signatures made by the real minisign, and what must not pass for one.
class tst_ReleaseSignature : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void readPublicKey_minisigns_isRead();
    void readPublicKey_text_isRefused_data();
    void readPublicKey_text_isRefused();
    void signatureReason_minisigns_isAccepted_data();
    void signatureReason_minisigns_isAccepted();
    void signatureReason_severalKeys_oneIsEnough();
    void signatureReason_otherKey_isRefusedWithItsNumber();
    void signatureReason_otherContent_isRefused();
    void signatureReason_legacy_isRefusedSayingHowToSign();
    void signatureReason_anyBitChanged_isRefused();
    void signatureReason_cutAnywhere_isRefused();
    void signatureReason_form_isRefused_data();
    void signatureReason_form_isRefused();
    static void signatureReason_publishedKeys_areAcceptedHereAndByMinisign_data();
    void signatureReason_publishedKeys_areAcceptedHereAndByMinisign();
    static void library_publishedHashes_areMade_data();
    static void library_publishedHashes_areMade();

private:
    PublicKey keyOf(const SigningKey &signer) const;
    QString reason(const QByteArray &signature) const;

    std::unique_ptr<SigningKey> m_signer;
    PublicKey m_key;
    QByteArray m_signature;
};

namespace {

const QByteArray Content = "@release\t1\tf\t1\n";

QByteArray Line(const QByteArray &signature, int number)
{
    return signature.split('\n').at(number);
}

QByteArray WithLine(const QByteArray &signature, int number, const QByteArray &text)
{
    QList<QByteArray> lines = signature.split('\n');
    lines[number] = text;
    return lines.join('\n');
}

QByteArray Hash(const QByteArray &content)
{
    QByteArray hash(64, '\0');
    (void)crypto_generichash(reinterpret_cast<unsigned char *>(hash.data()), 64,
                             reinterpret_cast<const unsigned char *>(content.constData()),
                             static_cast<unsigned long long>(content.size()), nullptr, 0);
    return hash;
}

/// Signs with the \a secret half of a pair, 64 bytes.
QByteArray Signed(const QByteArray &message, const QByteArray &secret)
{
    QByteArray signature(64, '\0');
    (void)crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr,
                               reinterpret_cast<const unsigned char *>(message.constData()),
                               static_cast<unsigned long long>(message.size()),
                               reinterpret_cast<const unsigned char *>(secret.constData()));
    return signature;
}

} // namespace

void tst_ReleaseSignature::initTestCase()
{
    m_signer = std::make_unique<SigningKey>();
    m_key = keyOf(*m_signer);
    m_signature = m_signer->signature(Content);
    QCOMPARE(m_signature.count('\n'), 4);
}

PublicKey tst_ReleaseSignature::keyOf(const SigningKey &signer) const
{
    PublicKey key;
    const QString reason = ReadPublicKey(signer.publicKey(), key);
    if (!reason.isEmpty()) {
        qFatal("The key is not read: %s", qPrintable(reason));
    }
    return key;
}

QString tst_ReleaseSignature::reason(const QByteArray &signature) const
{
    return SignatureReason(Content, signature, {m_key});
}

void tst_ReleaseSignature::readPublicKey_minisigns_isRead()
{
    QCOMPARE(m_signer->publicKey().size(), 56);
    QCOMPARE(m_key.id.size(), 8);
    QCOMPARE(m_key.key.size(), 32);
    const QByteArray whole = QByteArray("Ed") + m_key.id + m_key.key;
    QCOMPARE(QString::fromLatin1(whole.toBase64()), m_signer->publicKey());
}

void tst_ReleaseSignature::readPublicKey_text_isRefused_data()
{
    QTest::addColumn<QString>("text");
    const QString key = m_signer->publicKey();
    QTest::newRow("empty") << "";
    QTest::newRow("words") << "this is no key";
    QTest::newRow("name of a file") << "minisign.pub";
    QTest::newRow("cut") << key.chopped(1);
    QTest::newRow("cut by a group") << key.chopped(4);
    QTest::newRow("longer") << key + "AAAA";
    QTest::newRow("garbage behind") << key + "!";
    QTest::newRow("line end behind") << key + "\n";
    QTest::newRow("blank in front") << " " + key;
    QTest::newRow("blank inside") << QString(key).insert(20, ' ');
    QTest::newRow("two lines of the file") << "untrusted comment: minisign public key\n" + key;
    QTest::newRow("other letters") << QString(key).replace(5, 1, QChar(0x0410));
    QTest::newRow("URL alphabet") << QString(key).replace(5, 1, '-');
    QTest::newRow("other algorithm") << "RW" + QString(key.mid(2)).replace(0, 1, "x").prepend("X");
    QTest::newRow("a signature") << QString::fromLatin1(Line(m_signature, 1));
    QTest::newRow("all zeros") << QString::fromLatin1(
        (QByteArray("Ed") + QByteArray(40, '\0')).toBase64());
    QTest::newRow("no point") << QString::fromLatin1(
        (QByteArray("Ed") + QByteArray(40, '\xFF')).toBase64());
    QTest::newRow("point of small order") << QString::fromLatin1(
        (QByteArray("Ed") + QByteArray(8, 'i') + '\1' + QByteArray(31, '\0')).toBase64());
}

void tst_ReleaseSignature::readPublicKey_text_isRefused()
{
    QFETCH(QString, text);
    PublicKey key{"id", "key"};
    QVERIFY(!ReadPublicKey(text, key).isEmpty());
    QCOMPARE(key.id, QByteArray("id"));
    QCOMPARE(key.key, QByteArray("key"));
}

void tst_ReleaseSignature::signatureReason_minisigns_isAccepted_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("options");
    const QStringList none;
    QTest::newRow("usual") << Content << none;
    QTest::newRow("empty content") << QByteArray() << none;
    QTest::newRow("one byte") << QByteArray("a") << none;
    QTest::newRow("a block of the hash") << QByteArray(128, 'a') << none;
    QTest::newRow("one byte more") << QByteArray(129, 'a') << none;
    QTest::newRow("long content") << QByteArray(3000000, 'a') << none;
    QTest::newRow("content with any bytes") << QByteArray("\r\n\0\xFF", 4) << none;
    QTest::newRow("comments") << Content
                              << QStringList{"-t", QStringLiteral("版本 3.10"), "-c",
                                             QStringLiteral("注释")};
    QTest::newRow("empty comments") << Content << QStringList{"-t", "", "-c", ""};
    QTest::newRow("option of before 0.10") << Content << QStringList{"-H"};
    QTest::newRow("longest comments")
        << Content << QStringList{"-t", QString(4000, 'x'), "-c", QString(1003, 'x')};
}

void tst_ReleaseSignature::signatureReason_minisigns_isAccepted()
{
    QFETCH(QByteArray, content);
    QFETCH(QStringList, options);
    const QByteArray signature = m_signer->signature(content, options);
    QVERIFY(m_signer->accepts(content, signature));
    QCOMPARE(SignatureReason(content, signature, {m_key}), QString());
}

void tst_ReleaseSignature::signatureReason_severalKeys_oneIsEnough()
{
    const SigningKey other;
    const PublicKey otherKey = keyOf(other);
    PublicKey sameNumber = otherKey;
    sameNumber.id = m_key.id;
    QCOMPARE(SignatureReason(Content, m_signature, {otherKey, m_key}), QString());
    QCOMPARE(SignatureReason(Content, m_signature, {m_key, otherKey}), QString());
    QCOMPARE(SignatureReason(Content, m_signature, {sameNumber, m_key}), QString());
    QCOMPARE(SignatureReason(Content, m_signature, {m_key, sameNumber}), QString());
    QCOMPARE(SignatureReason(Content, other.signature(Content), {m_key, otherKey}), QString());
    QCOMPARE(SignatureReason(Content, m_signature, {sameNumber}),
             QString("it is not a signature of this content"));
    QVERIFY(!SignatureReason(Content, m_signature, {}).isEmpty());
}

void tst_ReleaseSignature::signatureReason_otherKey_isRefusedWithItsNumber()
{
    const SigningKey other;
    const QByteArray signature = other.signature(Content);
    const QString number = KeyNumber(keyOf(other).id);
    QCOMPARE(number.size(), 16);
    QCOMPARE(reason(signature),
             "it was made with the key " + number + ", which is not among those asked for");
    // The other key's signature with this key's number.
    QByteArray forged = QByteArray::fromBase64(Line(signature, 1));
    forged.replace(2, 8, m_key.id);
    QCOMPARE(reason(WithLine(signature, 1, forged.toBase64())),
             QString("it is not a signature of this content"));
}

void tst_ReleaseSignature::signatureReason_otherContent_isRefused()
{
    const QString other("it is not a signature of this content");
    QCOMPARE(SignatureReason(Content + '\n', m_signature, {m_key}), other);
    QCOMPARE(SignatureReason(Content.chopped(1), m_signature, {m_key}), other);
    QCOMPARE(SignatureReason({}, m_signature, {m_key}), other);
    QCOMPARE(reason(m_signer->signature("other")), other);
    // The comment of one and the signature of another, each valid by itself.
    const QByteArray commented = m_signer->signature(Content, {"-t", "version 9"});
    QCOMPARE(reason(WithLine(m_signature, 2, Line(commented, 2))),
             QString("its trusted comment was changed"));
    QCOMPARE(reason(WithLine(m_signature, 3, Line(commented, 3))),
             QString("its trusted comment was changed"));
}

void tst_ReleaseSignature::signatureReason_legacy_isRefusedSayingHowToSign()
{
    const QByteArray signature = m_signer->signature(Content, {"-l"});
    QVERIFY(m_signer->accepts(Content, signature));
    const QString told = reason(signature);
    QVERIFY2(told.contains("legacy") && told.contains("sign with minisign 0.10 or later"),
             qPrintable(told));
    // Changing the letters to the new form's does not make it one.
    QByteArray relabelled = QByteArray::fromBase64(Line(signature, 1)).replace(0, 2, "ED");
    QCOMPARE(reason(WithLine(signature, 1, relabelled.toBase64())),
             QString("it is not a signature of this content"));
}

void tst_ReleaseSignature::signatureReason_anyBitChanged_isRefused()
{
    const int end = m_signature.indexOf('\n'); // the untrusted comment is not signed
    for (int place = end; place < m_signature.size(); ++place) {
        for (int bit = 0; bit < 8; ++bit) {
            QByteArray changed = m_signature;
            changed[place] = static_cast<char>(changed.at(place) ^ (1 << bit));
            QVERIFY2(!reason(changed).isEmpty(), changed.constData());
        }
    }
}

void tst_ReleaseSignature::signatureReason_cutAnywhere_isRefused()
{
    for (int length = 0; length < m_signature.size(); ++length) {
        QVERIFY(!reason(m_signature.left(length)).isEmpty());
    }
}

void tst_ReleaseSignature::signatureReason_form_isRefused_data()
{
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QString>("told");
    const auto row = [](const char *rule, const QByteArray &signature, const char *told) {
        QTest::newRow(rule) << signature << QString::fromLatin1(told);
    };
    const QByteArray first = Line(m_signature, 1);
    const char *const none = "it is not a minisign signature";
    const char *const damaged = "it is not a minisign signature: it is damaged";
    const char *const behind = "something follows its four lines";
    const char *const comment = "it has a comment that is too long";
    row("nothing", "", "it is cut off");
    row("zeros", QByteArray(300, '\0'), "it contains a CR or NUL, which minisign does not write");
    row("page of a server", "<html>\n<body>\n404\n</body>\n</html>\n", behind);
    row("four other lines", "a\nb\nc\nd\n", none);
    row("CR LF", QByteArray(m_signature).replace("\n", "\r\n"),
        "it contains a CR or NUL, which minisign does not write");
    row("empty line behind", m_signature + "\n", behind);
    row("garbage behind", m_signature + "x", behind);
    row("line behind", m_signature + "x\n", behind);
    row("twice", m_signature + m_signature, behind);
    row("last line without LF", m_signature.chopped(1), "it is cut off");
    row("without the first line", m_signature.mid(m_signature.indexOf('\n') + 1), "it is cut off");
    row("blank line in front", "\n" + m_signature, behind);
    row("other words for the first comment", WithLine(m_signature, 0, "comment: x"), none);
    row("other words for the trusted comment", WithLine(m_signature, 2, "comment: x"), none);
    row("algorithm not known", WithLine(m_signature, 1, "RX" + first.mid(2)),
        "it has an unknown algorithm");
    row("public key", WithLine(m_signature, 1, m_signer->publicKey().toLatin1()), damaged);
    row("blank behind the signature", WithLine(m_signature, 1, first + ' '), damaged);
    row("without padding", WithLine(m_signature, 1, first.chopped(1)), damaged);
    row("longer by a group", WithLine(m_signature, 1, first.chopped(4) + "AAAAAAA="), damaged);
    row("loose bits at the end",
        WithLine(m_signature, 1, first.chopped(2) + static_cast<char>(first.at(98) + 1) + "="),
        damaged);
    row("no global signature", WithLine(m_signature, 3, ""), damaged);
    row("untrusted comment of 10 kB",
        WithLine(m_signature, 0, "untrusted comment: " + QByteArray(10240, 'x')), comment);
    row("trusted comment of 10 kB",
        WithLine(m_signature, 2, "trusted comment: " + QByteArray(10240, 'x')), comment);
    row("too long in all", m_signature + QByteArray(20000, 'x'), "it is too long");
}

void tst_ReleaseSignature::signatureReason_form_isRefused()
{
    QFETCH(QByteArray, signature);
    QFETCH(QString, told);
    QCOMPARE(reason(signature), told);
}

/// The keys and signatures are the test values of RFC 8032, 7.1. With each key, a signature is
/// assembled here and accepted both here and by minisign.
void tst_ReleaseSignature::signatureReason_publishedKeys_areAcceptedHereAndByMinisign_data()
{
    QTest::addColumn<QByteArray>("secret");
    QTest::addColumn<QByteArray>("point");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("published");
    const auto row = [](const char *name, const char *secret, const char *point,
                        const char *message, const QByteArray &published) {
        QTest::newRow(name) << QByteArray::fromHex(secret) << QByteArray::fromHex(point)
                            << QByteArray::fromHex(message) << QByteArray::fromHex(published);
    };
    row("test 1", "9d61b19deffd5a60ba844af492ec2cc44449c5697b326919703bac031cae7f60",
        "d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a", "",
        "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e065224901555fb8821590a33bacc61e39701c"
        "f9b46bd25bf5f0595bbe24655141438e7a100b");
    row("test 2", "4ccd089b28ff96da9db6c346ec114e0f5b8a319f35aba624da8cf6ed4fb8a6fb",
        "3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c", "72",
        "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da085ac1e43e15996e458f3613d0"
        "f11d8c387b2eaeb4302aeeb00d291612bb0c00");
    row("test 3", "c5aa8df43f9f837bedb7442f31dcb7b166d38535076f094b85ce3a2e0b4458f7",
        "fc51cd8e6218a1a38da47ed00230f0580816ed13ba3303ac5deb911548908025", "af82",
        "6291d657deec24024827e69c3abe01a30ce548a284743a445e3680d7db5ac3ac18ff9b538d16f290ae67f76098"
        "4dc6594a7c15e9716ed28dc027beceea1ec40a");
}

void tst_ReleaseSignature::signatureReason_publishedKeys_areAcceptedHereAndByMinisign()
{
    QFETCH(QByteArray, secret);
    QFETCH(QByteArray, point);
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, published);
    const QByteArray pair = secret + point;
    QCOMPARE(Signed(message, pair).toHex(), published.toHex());

    const QByteArray number = "12345678";
    const QString text = QString::fromLatin1((QByteArray("Ed") + number + point).toBase64());
    PublicKey key;
    QCOMPARE(ReadPublicKey(text, key), QString());
    QCOMPARE(KeyNumber(key.id), QString("3837363534333231"));
    const QByteArray first = Signed(Hash(Content), pair);
    const QByteArray signature =
        "untrusted comment: by hand\n" + (QByteArray("ED") + number + first).toBase64() +
        "\ntrusted comment: by hand too\n" + Signed(first + "by hand too", pair).toBase64() + '\n';
    QCOMPARE(SignatureReason(Content, signature, {key}), QString());
    QVERIFY(m_signer->accepts(Content, signature, text));
    QVERIFY(!m_signer->accepts(Content + 'x', signature, text));
}

void tst_ReleaseSignature::library_publishedHashes_areMade_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("hash");
    // From RFC 7693, appendix A; the value for the empty content is from the authors' own tests.
    QTest::newRow("abc") << QByteArray("abc")
                         << QByteArray("ba80a53f981c4d0d6a2797b69f12f6e94c212f14685ac4b74b12bb6fdbf"
                                       "fa2d17d87c5392aab792dc252d5de45"
                                       "33cc9518d38aa8dbf1925ab92386edd4009923");
    QTest::newRow("empty") << QByteArray()
                           << QByteArray("786a02f742015903c6c6fd852552d272912f4740e15847618a86e217f"
                                         "71f5419d25e1031afee58531389644493"
                                         "4eb04b903a685b1448b755d56f701afe9be2ce");
}

void tst_ReleaseSignature::library_publishedHashes_areMade()
{
    QFETCH(QByteArray, content);
    QTEST(Hash(content).toHex(), "hash");
}

QTEST_GUILESS_MAIN(tst_ReleaseSignature)
#include "tst_releasesignature.moc"

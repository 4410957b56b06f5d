// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleaseSignature.h"

#include <QList>

#include <sodium.h>

#include <algorithm>

namespace {

constexpr int AlgorithmSize = 2;
constexpr int IdSize = 8;
constexpr int KeySize = crypto_sign_PUBLICKEYBYTES;
constexpr int SignatureSize = crypto_sign_BYTES;
constexpr int HashSize = crypto_generichash_BYTES_MAX;
constexpr int Lines = 4;
constexpr int LongestUntrustedComment = 1024; // with its prefix, as minisign reads them
constexpr int LongestTrustedComment = 8192;

const QByteArray KeyAlgorithm = QByteArrayLiteral("Ed");
const QByteArray Prehashed = QByteArrayLiteral("ED");
const QByteArray NotPrehashed = QByteArrayLiteral("Ed");
const QByteArray UntrustedPrefix = QByteArrayLiteral("untrusted comment: ");
const QByteArray TrustedPrefix = QByteArrayLiteral("trusted comment: ");

/// The parts of a signature's file.
struct Parts {
    QByteArray id;
    QByteArray signature;      // over the content's hash
    QByteArray trustedComment; // without its prefix
    QByteArray global;         // over the first signature and the trusted comment
};

const unsigned char *Bytes(const QByteArray &array)
{
    return reinterpret_cast<const unsigned char *>(array.constData());
}

/// Decodes Base64. Returns exactly \a size bytes, or nothing.
QByteArray Decoded(const QByteArray &text, int size)
{
    // Encode again and compare: decoders are lenient, each in its own way.
    const QByteArray bytes = QByteArray::fromBase64(text);
    return bytes.size() == size && bytes.toBase64() == text ? bytes : QByteArray();
}

QString SplitReason(const QByteArray &content, QList<QByteArray> &lines)
{
    if (content.size() >= TooLargeSignature) {
        return QStringLiteral("it is too long");
    }
    if (content.contains('\r') || content.contains('\0')) {
        return QStringLiteral("it contains a CR or NUL, which minisign does not write");
    }
    lines = content.split('\n');
    if (lines.size() <= Lines) {
        return QStringLiteral("it is cut off");
    }
    if (lines.size() > Lines + 1 || !lines.constLast().isEmpty()) {
        return QStringLiteral("something follows its four lines");
    }
    return {};
}

QString ReadParts(const QByteArray &content, Parts &parts)
{
    QList<QByteArray> lines;
    if (QString reason = SplitReason(content, lines); !reason.isEmpty()) {
        return reason;
    }
    if (!lines.at(0).startsWith(UntrustedPrefix) || !lines.at(2).startsWith(TrustedPrefix)) {
        return QStringLiteral("it is not a minisign signature");
    }
    if (lines.at(0).size() > LongestUntrustedComment ||
        lines.at(2).size() > LongestTrustedComment) {
        return QStringLiteral("it has a comment that is too long");
    }
    const QByteArray first = Decoded(lines.at(1), AlgorithmSize + IdSize + SignatureSize);
    parts.global = Decoded(lines.at(3), SignatureSize);
    if (first.isEmpty() || parts.global.isEmpty()) {
        return QStringLiteral("it is not a minisign signature: it is damaged");
    }
    const QByteArray algorithm = first.left(AlgorithmSize);
    if (algorithm == NotPrehashed) {
        return QStringLiteral("it has minisign's legacy form, which is not prehashed; sign with "
                              "minisign 0.10 or later and without -l, or with -H before that");
    }
    if (algorithm != Prehashed) {
        return QStringLiteral("it has an unknown algorithm");
    }
    parts.id = first.mid(AlgorithmSize, IdSize);
    parts.signature = first.mid(AlgorithmSize + IdSize);
    parts.trustedComment = lines.at(2).mid(TrustedPrefix.size());
    return {};
}

bool IsSigned(const QByteArray &signature, const QByteArray &message, const PublicKey &key)
{
    return crypto_sign_verify_detached(Bytes(signature), Bytes(message),
                                       static_cast<unsigned long long>(message.size()),
                                       Bytes(key.key)) == 0;
}

QByteArray Hash(const QByteArray &content)
{
    QByteArray hash(HashSize, '\0');
    (void)crypto_generichash(reinterpret_cast<unsigned char *>(hash.data()), HashSize,
                             Bytes(content), static_cast<unsigned long long>(content.size()),
                             nullptr, 0); // fails only for impossible hash sizes
    return hash;
}

bool IsLibraryReady()
{
    static const bool isReady = sodium_init() >= 0;
    return isReady;
}

} // namespace

QString ReadPublicKey(const QString &text, PublicKey &key)
{
    if (!IsLibraryReady()) {
        return QStringLiteral("libsodium cannot be used");
    }
    const QByteArray bytes = Decoded(text.toUtf8(), AlgorithmSize + IdSize + KeySize);
    if (bytes.isEmpty() || !bytes.startsWith(KeyAlgorithm)) {
        return QStringLiteral("it is not a minisign public key, a line of 56 letters that begins "
                              "with RW");
    }
    const QByteArray point = bytes.mid(AlgorithmSize + IdSize);
    if (crypto_core_ed25519_is_valid_point(Bytes(point)) != 1) {
        return QStringLiteral("it has the form of a public key, but nothing can be signed for it");
    }
    key = {bytes.mid(AlgorithmSize, IdSize), point};
    return {};
}

QString KeyNumber(const QByteArray &id)
{
    QByteArray number = id;
    std::reverse(number.begin(), number.end()); // a little-endian number
    return QString::fromLatin1(number.toHex().toUpper());
}

QString SignatureReason(const QByteArray &content, const QByteArray &signature,
                        const QVector<PublicKey> &keys)
{
    if (!IsLibraryReady()) {
        return QStringLiteral("libsodium cannot be used");
    }
    Parts parts;
    if (QString reason = ReadParts(signature, parts); !reason.isEmpty()) {
        return reason;
    }
    QString reason = QStringLiteral("it was made with the key %1, which is not among those asked "
                                    "for")
                         .arg(KeyNumber(parts.id));
    const QByteArray hash = Hash(content);
    for (const PublicKey &key : keys) {
        if (key.id != parts.id) {
            continue;
        }
        if (!IsSigned(parts.signature, hash, key)) {
            reason = QStringLiteral("it is not a signature of this content");
        } else if (!IsSigned(parts.global, parts.signature + parts.trustedComment, key)) {
            reason = QStringLiteral("its trusted comment was changed");
        } else {
            return {};
        }
    }
    return reason;
}

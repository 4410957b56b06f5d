// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

/// \file
/// Checks the detached signature of a manifest, in the prehashed format of minisign. Callable on
/// any thread.

/// The name of the signature's file, beside the manifest.
const QString SIGNATURE_FILENAME = QStringLiteral("update_md5.info.minisig");

/// Signatures of this size in bytes or more are refused unread.
constexpr qint64 TooLargeSignature = 0x4000;

/// A key to check signatures with.
struct PublicKey {
    QByteArray id;  ///< 8 bytes; the signature has them too
    QByteArray key; ///< 32 bytes
};

/// Reads a public key from its one line of Base64, as `minisign -G` prints it.
///
/// Returns why the text is not such a key, or empty text. \a key is set only on success.
QString ReadPublicKey(const QString &text, PublicKey &key);

/// Returns the number of a key as minisign shows it, 16 hexadecimal digits.
QString KeyNumber(const QByteArray &id);

/// Returns why \a signature, the content of a signature's file, is not accepted for \a content, or
/// empty text when one of the \a keys made it.
///
/// It must be exactly the four lines that minisign writes, with LF behind each and nothing else.
/// The trusted comment is checked too. Legacy signatures, which sign the content itself instead of
/// its hash, are refused.
QString SignatureReason(const QByteArray &content, const QByteArray &signature,
                        const QVector<PublicKey> &keys);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A key pair of the real minisign, without a pass phrase; removed with the object.
class SigningKey {
public:
    /// Makes a new pair. Aborts the test if minisign fails.
    SigningKey();
    Q_DISABLE_COPY(SigningKey)

    /// The public key in one line.
    QString publicKey() const { return m_publicKey; }

    /// The path of the secret key.
    QString secretKey() const;

    /// The signing command as publish_update expects it: the file's path is appended to it.
    QString command() const;

    /// The same as a program and its arguments, with more \a options of minisign.
    QStringList arguments(const QStringList &options = {}) const;

    /// Returns the content of minisign's signature of \a content.
    QByteArray signature(const QByteArray &content, const QStringList &options = {}) const;

    /// Whether minisign itself accepts a \a signature of this key, or of another \a publicKey, for
    /// \a content.
    bool accepts(const QByteArray &content, const QByteArray &signature,
                 const QString &publicKey = QString()) const;

private:
    QTemporaryDir m_folder;
    QString m_publicKey;
};

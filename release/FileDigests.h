// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

/// \file
/// The digests that identify the files of a release, made in one pass over a file of any size, with
/// little memory. Callable on any thread.

/// Which digests to make; each costs time.
enum class DigestKinds { Sha256, Sha256AndMd5 };

/// The size and digests of a content.
struct FileDigests {
    quint64 size = 0;  ///< in bytes
    QByteArray md5;    ///< as Md5Hash() makes it; empty when it was not asked for
    QByteArray sha256; ///< 64 lower-case hexadecimal digits
};

/// Takes one content piece by piece. For one thread at a time.
class DigestMaker {
public:
    explicit DigestMaker(DigestKinds kinds);
    ~DigestMaker();
    Q_DISABLE_COPY(DigestMaker)

    /// Takes the next \a size bytes.
    void add(const char *block, std::size_t size);

    /// Ends the content and sets its \a digests. Call it once. Returns why there are none, or empty
    /// text: a system can be configured without one of the algorithms.
    QString finish(FileDigests &digests);

private:
    struct Contexts;

    std::unique_ptr<Contexts> m_contexts;
    quint64 m_size = 0;
};

/// Reads an open file from its current position to its end. Returns why that failed, or empty text.
QString ReadDigests(int descriptor, DigestKinds kinds, FileDigests &digests);

/// Reads the regular file \a path; does not follow a link. Returns why that failed, or empty text.
/// The text does not repeat the path.
QString ReadDigests(const QString &path, DigestKinds kinds, FileDigests &digests);

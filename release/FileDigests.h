// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

/// \file
/// The texts by which the files of a release are known. In one pass over a file of any size, with
/// little memory. Callable on any thread.

/// Which texts are asked for; each costs time.
enum class DigestKinds { Sha256, Sha256AndMd5 };

/// What a content is known by.
struct FileDigests {
    quint64 size = 0;  ///< in bytes
    QByteArray md5;    ///< as Md5Hash() makes it; empty when it was not asked for
    QByteArray sha256; ///< 64 lower-case hexadecimal digits
};

/// Takes a content piece by piece. For one content; not for several threads at once.
class DigestMaker {
public:
    explicit DigestMaker(DigestKinds kinds);
    ~DigestMaker();
    Q_DISABLE_COPY(DigestMaker)

    /// Takes the next \a size bytes.
    void add(const char *block, std::size_t size);

    /// Ends the content and gives its \a digests. To be called once. Returns why there are none, or
    /// empty text: a system can be set up to do without one of the algorithms.
    QString finish(FileDigests &digests);

private:
    struct Contexts;

    std::unique_ptr<Contexts> m_contexts;
    quint64 m_size = 0;
};

/// Reads an open file from where it stands to its end. Returns why that failed, or empty text.
QString ReadDigests(int descriptor, DigestKinds kinds, FileDigests &digests);

/// Reads the regular file \a path; a link is not followed. Returns why that failed, or empty text.
/// The text does not repeat the path.
QString ReadDigests(const QString &path, DigestKinds kinds, FileDigests &digests);

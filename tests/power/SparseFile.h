// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// A disk image: a sparse file, of which only the data is copied. Any failure aborts the test.
class SparseFile {
public:
    /// Opens an existing file.
    explicit SparseFile(const QString &path);
    /// Makes a file of zeros, replacing an existing one.
    SparseFile(const QString &path, qint64 size);
    ~SparseFile();
    Q_DISABLE_COPY(SparseFile)

    QString path() const { return m_path; }
    void write(qint64 offset, const char *data, qint64 length) const;
    /// Copies the size and the content of another one.
    void assign(const SparseFile &other) const;
    /// Turns blocks of zeros into holes.
    void digHoles() const;

private:
    qint64 size() const;

    const QString m_path;
    int m_file = -1;
};

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Owns a file descriptor and closes it at the end.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { reset(); }
    Q_DISABLE_COPY(Descriptor)

    /// The number; negative when nothing is open.
    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

    /// Closes the descriptor and takes over \a number.
    void reset(int number = -1);
    /// Closes the descriptor. Returns whether that succeeded; SystemError() says why not.
    bool close();

private:
    int m_number;
};

/// Opens the file \a path for reading, into \a file. Does not follow a link or wait for a pipe:
/// neither is a regular file.
///
/// Returns why that failed, or empty text. The text does not repeat the path. If \a file is not
/// open afterwards, errno is that of open().
QString OpenRegularFile(const QString &path, Descriptor &file);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Holds a descriptor of the system and closes it at the end.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { reset(); }
    Q_DISABLE_COPY(Descriptor)

    /// The number, or less than 0 when nothing is open.
    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

    /// Closes what is held and holds \a number from now on.
    void reset(int number = -1);
    /// Closes what is held. Returns whether the system had nothing to complain of; SystemError()
    /// says why not.
    bool close();

private:
    int m_number;
};

/// Opens the file \a path for reading, into \a file. A link is not followed and a pipe not waited
/// for: both count as no regular file.
///
/// Returns why that failed, or empty text. The text does not repeat the path. When \a file is not
/// open then, errno is that of the call.
QString OpenRegularFile(const QString &path, Descriptor &file);

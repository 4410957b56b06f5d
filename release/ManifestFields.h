// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <string_view>

/// \file
/// The single fields of a manifest's lines, each of which can be written in one way only. The
/// arguments are slices of the manifest, which must outlive the call.

using Bytes = std::string_view;

/// Decodes UTF-8, valid or not, for messages.
QString Shown(Bytes bytes);

/// Puts the number of the line in front of the reason.
QString AtLine(int line, const QString &reason);

/// Whether \a field is \a length lower-case hexadecimal digits.
bool IsHex(Bytes field, std::size_t length);

/// Reads a size: lower-case hexadecimal digits without leading zeros, below TooLargeSize.
/// Returns what is wrong with the field, or empty text.
QString ReadSize(Bytes field, quint64 &size);

/// Reads a number in decimal digits as QByteArray::number() writes it.
QString ReadNumber(Bytes field, int &number);

/// Reads four octal digits. Does not judge whether the mode is allowed.
QString ReadMode(Bytes field, int &mode);

/// Reads UTF-8, which must give the same bytes when written again.
QString ReadText(Bytes field, QString &text);

/// Reads the path of a file, link or folder and checks it with UnsafePathReason().
QString ReadPath(Bytes field, QString &path);

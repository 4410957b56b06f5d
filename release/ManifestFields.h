// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <string_view>

/// \file
/// The single fields of a manifest's lines, as the one way to write them demands. Slices of the
/// manifest come in, which stays where it is.

using Bytes = std::string_view;

/// The text that UTF-8 stands for, whatever it is, to be shown.
QString Shown(Bytes bytes);

/// Puts the number of the line in front of what is wrong with it.
QString AtLine(int line, const QString &reason);

/// Whether \a field is \a length lower-case hexadecimal digits.
bool IsHex(Bytes field, std::size_t length);

/// Reads a size: lower-case hexadecimal digits without leading zeros, below TooLargeSize.
/// Returns what is wrong with the field, or empty text.
QString ReadSize(Bytes field, quint64 &size);

/// Reads a number in decimal digits as QByteArray::number() writes it.
QString ReadNumber(Bytes field, int &number);

/// Reads four octal digits. Which modes are allowed is not judged.
QString ReadMode(Bytes field, int &mode);

/// Reads UTF-8 that gives the same bytes again.
QString ReadText(Bytes field, QString &text);

/// Reads the path of a file, link or folder and judges it by UnsafePathReason().
QString ReadPath(Bytes field, QString &path);

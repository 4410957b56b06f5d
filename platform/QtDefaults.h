// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

class QSettings;
class QTextStream;

/// \file
/// What Qt 5 must be told and Qt 6 does by default, so that the program behaves the same with both.

/// Lets windows follow the density of their screen. Call before the application object exists.
void EnableHighDpi();

/// Lets \a stream write and read UTF-8, whatever the locale is.
void UseUtf8(QTextStream &stream);

/// Lets \a settings, an INI file, read and write UTF-8. Call before the first value is read.
void UseUtf8(QSettings &settings);

/// Lets file names and the texts of the command line be UTF-8, whatever the locale is. Call first
/// in main.
void UseUtf8FileNames();

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

/// \file
/// What only the operating system knows. Every result is computed by the first call and kept for
/// the life of the process; the texts belong to this module and are never freed by the caller. No
/// function reports an error. Call on the main thread; a first call must have ended before another
/// thread uses its result.

/// Returns the updater's data directory as UTF-8 text of up to 512 bytes, never null.
///
/// In the App Sandbox this is the container's home; elsewhere it is the folder HOME/.IDENTIFIER,
/// made if missing, where IDENTIFIER is the main bundle's. Off macOS, HOME is the variable, or what
/// the password database says if the variable is unset or empty. While that is not a folder and
/// cannot be made, the whole path gets one more '.' in front (which makes it relative to the
/// working directory) and is tried again, without limit: where not even a relative folder can be
/// made, this call does not return. A text of 512 bytes or more is cut at 512.
const char *ApplicationHomePath();

/// Returns the main bundle's "CFBundleShortVersionString" as UTF-8 text, or null when it has none
/// or its value is no text.
///
/// On macOS the text lives as long as the caller's autorelease pool: copy it at once.
const char *GetMainExecutableVersion();

/// Returns the main bundle's version as one number: major * 1000000 + minor * 10000 + patch.
///
/// A version without a dot gives 0; one with two parts gives its major part alone; a fourth part is
/// ignored. Parts spill into their neighbours unchecked and the sum wraps in 32 bits.
int GetMainExecutableVersionNum();

/// Hides the title bar of the window around \a view and lets the content reach under it.
///
/// \a view  what QWidget::winId() gives for a top-level widget. Does nothing off macOS.
void hideWindowCaptionBar(std::uintptr_t view);

/// Returns the machine's serial number, or empty text if it is not available.
const char *GetDiskId();

/// Returns the machine's platform UUID, or empty text if it is not available.
const char *GetSystemUuid();

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestFields.h"
#include "release/ReleaseManifest.h"

/// \file
/// The fields of the lines that stand before the paths of a manifest. Each call returns what is
/// wrong with them, or empty text.

/// Reads what @release says, into the \a manifest.
QString ReadReleaseFields(Bytes version, Bytes folder, Bytes versionString,
                          ReleaseManifest &manifest);

/// Reads the identifier behind @application.
QString ReadApplication(Bytes field, QString &application);

/// Reads the address behind @page.
QString ReadPage(Bytes field, QString &page);

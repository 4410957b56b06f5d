// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestFields.h"
#include "release/ReleaseManifest.h"

/// \file
/// The fields of the lines before the paths of a manifest. Each call returns what is wrong with
/// them, or empty text.

/// Reads the fields of @release into the \a manifest.
QString ReadReleaseFields(Bytes version, Bytes folder, Bytes versionString,
                          ReleaseManifest &manifest);

/// Reads the identifier of @application.
QString ReadApplication(Bytes field, QString &application);

/// Reads the address of @page.
QString ReadPage(Bytes field, QString &page);

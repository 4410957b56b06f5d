// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// \file
/// Names of the files that several modules read or write. Constants only; may be included anywhere.

/// The configuration beside the updater's executable, in INI form.
const QString SYSTEM_CONFIG_FILENAME = QStringLiteral("system.cfg");

/// The update description below the update base URL.
const QString UPDATE_DESCRIBE_FILENAME = QStringLiteral("update.json");

/// The MD5 manifest of a release, on the server and in an installation.
const QString LOCAL_MD5_FILENAME = QStringLiteral("update_md5.info");

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// A realistic application bundle to publish and to update: two frameworks with links, a helper, a
/// folder of plug-ins, an empty folder, many resources, Chinese and emoji names, modes of every
/// usual kind. The same values make the same bundle, byte for byte.
struct SampleBundle {
    QString version = QStringLiteral("3.10.25");
    QString identifier = QStringLiteral("com.example.sample");
    int resources = 3000; ///< files in Contents/Resources/data

    /// Lays the bundle out as the new folder \a bundle, such as ".../Sample.app", which is the
    /// folder to publish. Every tenth resource and every program contains the version's text; the
    /// other files are the same in every version. Modes do not depend on the umask. Aborts the test
    /// when that fails.
    void make(const QString &bundle) const;

    /// How many regular files make() lays out.
    int fileCount() const;
    /// How many symbolic links make() lays out.
    static int linkCount();
};

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QTemporaryDir>

/// A home of the gallery's own, so that its pictures look the same for everybody: one font family
/// for all text, and no settings of the person at the desk. It is removed at the end.
class OwnHome {
public:
    /// Makes the home and points the environment of this process at it. Make it before the
    /// application object.
    OwnHome();

    bool isValid() const { return m_valid; }

private:
    QTemporaryDir m_folder;
    bool m_valid = false;
};

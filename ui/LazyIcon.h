// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QIcon>

class QString;

/// Returns the icon in \a fileName, which is read when something first asks for its pictures: a
/// session that shows no window spares the image plugins and the decoding.
///
/// An icon that cannot be read is null and shows nothing. For use on the main thread.
QIcon LazyIcon(const QString &fileName);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QIcon>

class QString;

/// Returns the icon in \a fileName, which is read when something first asks for its picture: a
/// session that shows no window needs neither the image plugins nor the decoding.
///
/// It holds the one picture of its file, scaled down and never up, and looks like QIcon(fileName)
/// at every size and pixel ratio. Copies and streams keep the picture; more cannot be added to it.
/// An icon that cannot be read is null and shows nothing. For use on the main thread.
QIcon LazyIcon(const QString &fileName);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "inplace/Outcome.h"

#include <sys/types.h>

/// \file
/// Moving whole trees between the names around an installation: layout.install, layout.next,
/// layout.previous and layout.doomed.

/// The inode numbers of the folders under these names, by which a tree is known after it was
/// renamed; 0 if there is no folder. A link to a folder is none.
struct TreeNodes {
    ino_t install = 0;
    ino_t next = 0;
    ino_t previous = 0;
};

/// Reads the \a nodes. Fails if it cannot be found out what is there.
Problem FindNodes(const Layout &layout, TreeNodes &nodes);

/// Moves \a tree to layout.doomed, from where it can be removed at any time. What was there is
/// removed first. True also if there is no such tree; otherwise the reason is in errno.
bool DoomTree(const Layout &layout, const QString &tree);

/// Exchanges the trees at layout.install and layout.next and waits until that is on the disk. If
/// the volume has no exchange, it takes two renames; a run that is stopped between them leaves no
/// installation until RestoreInstall().
///
/// \a changed  set once the new tree is in place, whatever happens then.
Problem ExchangeTrees(const Layout &layout, bool &changed);

/// Restores an installation that is missing because of two such renames; does nothing if there is
/// one. The tree at layout.next is taken if its number is \a ready, otherwise layout.previous.
Problem RestoreInstall(const Layout &layout, ino_t ready);

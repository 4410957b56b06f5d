// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "inplace/StateFolder.h"

/// \file
/// The one instant at which a new tree takes the place of the installation, and what is to be
/// tidied up around it, by this run or, after an interruption, by the next one.

/// What must be known besides the trees.
struct Takeover {
    QByteArray manifest;  ///< of the new tree, where the tree does not hold it; may be empty
    QByteArray signature; ///< beside it; may be empty
    QByteArray former;    ///< the installed manifest of before; may be empty
    QByteArray formerSignature;
    bool keepPrevious = true;
};

/// Writes down what is about to happen. The tree at layout.next must be whole and durable.
Problem PrepareTakeover(const Layout &layout, const Takeover &takeover);

/// Exchanges the trees at layout.install and layout.next and waits until that is on the disk. Where
/// the volume knows no exchange it takes two renames; a run that is stopped between them leaves no
/// installation until MendTakeover().
///
/// \a changed  set once the new tree has taken the place, whatever comes after.
Problem ExchangeTrees(const Layout &layout, bool &changed);

/// Tidies up after an exchange: the former tree becomes layout.previous, the installed manifest is
/// put in its place, what is not needed any more is removed. May be repeated.
Problem FinishTakeover(const Layout &layout);

/// Repairs what an interrupted run left: a missing installation is brought back, a completed
/// exchange is tidied up, one that did not happen is forgotten.
///
/// \a happened  set when a new tree was found in place.
Problem MendTakeover(const Layout &layout, bool &happened);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "inplace/StateFolder.h"

/// \file
/// The atomic exchange of the installation for a new tree, and the tidying up around it, by this
/// run or, after an interruption, by the next one.

/// The facts needed besides the trees.
struct Takeover {
    QByteArray manifest;  ///< of the new tree, if the tree does not contain it; may be empty
    QByteArray signature; ///< beside it; may be empty
    QByteArray former;    ///< the former installed manifest; may be empty
    QByteArray formerSignature;
    bool keepPrevious = true;
};

/// Records what is about to happen. The tree at layout.next must be complete and durable.
Problem PrepareTakeover(const Layout &layout, const Takeover &takeover);

/// Exchanges the trees at layout.install and layout.next and waits until that is on the disk. If
/// the volume has no exchange, it takes two renames; a run that is stopped between them leaves no
/// installation until MendTakeover().
///
/// \a changed  set once the new tree is in place, whatever happens then.
Problem ExchangeTrees(const Layout &layout, bool &changed);

/// Tidies up after an exchange: the former tree becomes layout.previous, the installed manifest is
/// stored where it belongs, and what is no longer needed is removed. May be repeated.
Problem FinishTakeover(const Layout &layout);

/// Repairs what an interrupted run left: a missing installation is restored, a completed exchange
/// is tidied up, one that did not happen is forgotten.
///
/// \a happened  set when a new tree was found in place.
Problem MendTakeover(const Layout &layout, bool &happened);

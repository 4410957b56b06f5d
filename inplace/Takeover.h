// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "inplace/StateFolder.h"

/// \file
/// The records before the exchange of the installation for a new tree, and the tidying up after it,
/// by the same run or, after an interruption, by the next one.

/// The facts needed besides the trees.
struct Takeover {
    QByteArray manifest;  ///< of the new tree, if the tree does not contain it; may be empty
    QByteArray signature; ///< beside it; may be empty
    QByteArray former;    ///< the former installed manifest; may be empty
    QByteArray formerSignature;
    bool keepPrevious = true;
};

/// Records what is about to happen. The tree at layout.next must be complete and durable;
/// ExchangeTrees() comes next.
Problem PrepareTakeover(const Layout &layout, const Takeover &takeover);

/// Tidies up after an exchange: the former tree becomes layout.previous, the installed manifest is
/// stored where it belongs, and what is no longer needed is removed. May be repeated.
Problem FinishTakeover(const Layout &layout);

/// Repairs what an interrupted run left: a missing installation is restored, a completed exchange
/// is tidied up, one that did not happen is forgotten.
///
/// \a happened  set when a new tree was found in place.
Problem MendTakeover(const Layout &layout, bool &happened);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>

/// Makes this process the one that inherits what its children start detached, so that
/// AwaitDescendants() can wait for it. Call once, before anything is started.
void AdoptDescendants();

/// Waits until no child of this process is left but those in \a known. False when they do not end
/// within some seconds.
bool AwaitDescendants(const QList<qint64> &known);

/// Returns how many children this process has, those in \a known aside. What was started detached
/// and has ended already still counts until AwaitDescendants() has waited for it.
int CountDescendants(const QList<qint64> &known);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>

/// Makes this process inherit the detached children of its children, so that AwaitDescendants() can
/// wait for them. Call once, before anything is started.
void AdoptDescendants();

/// Waits until this process has no children except those in \a known. False if they do not end
/// within some seconds.
bool AwaitDescendants(const QList<qint64> &known);

/// Returns how many children this process has, not counting those in \a known. A detached child
/// that has ended still counts until AwaitDescendants() has waited for it.
int CountDescendants(const QList<qint64> &known);

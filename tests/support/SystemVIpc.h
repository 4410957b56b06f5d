// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>

/// The System V objects in this process's namespace, one line each as the system writes it: key, id
/// and more.
QList<QByteArray> SharedMemorySegments();
QList<QByteArray> Semaphores();

/// Removes all semaphores of this process's namespace.
void RemoveSemaphores();

/// Removes the semaphores that were created and never set, and returns how many there were.
///
/// Qt makes a semaphore in two steps. A process that is killed between them leaves one with value
/// 0, and every later process waits for it forever.
int RemoveHalfMadeSemaphores();

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// What a process can have to itself. Values may be ored.
enum OwnNamespace : unsigned {
    OwnMounts = 1U,  ///< mounts that nobody else sees
    OwnNetwork = 2U, ///< the loopback device alone, on which every port is free and allowed
    OwnIpc = 4U,     ///< shared memory and semaphores of System V, none at first
};

/// Moves this process and what it starts from now on into namespaces of its own, which go with it.
///
/// \a namespaces  OwnNamespace values, ored.
///
/// An ordinary user stays who it is, and may mount until it starts another program. Call once,
/// before there is a second thread. Returns false where the system does not allow it; the process
/// should then do nothing that could be seen from outside.
bool EnterOwnNamespaces(unsigned namespaces);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// What a process can have for itself. Values can be combined with |.
enum OwnNamespace : unsigned {
    OwnMounts = 1U,  ///< mounts that nobody else sees
    OwnNetwork = 2U, ///< only a loopback device, on which every port is free and allowed
    OwnIpc = 4U,     ///< shared memory and semaphores of System V, none at first
};

/// Moves this process, and all that it starts from now on, into its own namespaces, which end
/// with it.
///
/// \a namespaces  OwnNamespace values, ored.
///
/// An ordinary user keeps its identity, and may mount until it starts another program. Call once,
/// before there is a second thread. Returns false if the system does not allow it; the process
/// should then do nothing that is visible from outside.
bool EnterOwnNamespaces(unsigned namespaces);

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QSharedMemory>

class HostBundle;

/// Reads the status record of a bundle's running session, and keeps it alive while attached.
class Onlooker {
public:
    explicit Onlooker(const HostBundle &bundle);

    /// Returns false if there is no record, because no session runs.
    bool attach();
    void detach();
    /// The two bytes; empty when not attached.
    QByteArray record();

private:
    QSharedMemory m_segment;
};

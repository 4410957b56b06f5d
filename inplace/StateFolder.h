// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"

#include <sys/types.h>

/// The record made before an exchange, from which the next run can tell after an interruption
/// whether the exchange happened.
struct PendingExchange {
    ino_t node = 0;       ///< of the new tree's folder, which an exchange does not change
    ino_t formerNode = 0; ///< of the former installation's folder
    QByteArray manifest;  ///< of the new tree; empty if unknown
    QByteArray signature; ///< beside it; may be empty
    QByteArray former;    ///< the former installed manifest; may be empty
    QByteArray formerSignature;
    bool keepPrevious = true;
};

/// The folder `inplace_update#state`, which keeps state between runs. Everything in it is written
/// durably and atomically. Writers return why they failed, or empty text; readers treat anything
/// missing or unusable as absent.
class StateFolder {
public:
    explicit StateFolder(const Layout &layout) : m_path(layout.state) {}

    /// The fetched release, laid out as published but without its files.
    QString readyFolder() const { return m_path + QStringLiteral("/ready"); }
    QString writeReady(const Candidate &candidate) const;
    void removeReady() const;

    std::optional<HighestNumber> highest() const;
    QString writeHighest(const HighestNumber &highest) const;

    std::optional<PendingExchange> pending() const;
    QString writePending(const PendingExchange &pending) const;
    QString removePending() const;

    /// The manifest of the previous tree, if the tree itself does not contain it.
    QString previousPath() const { return m_path + QStringLiteral("/previous"); }
    QByteArray previousManifest() const;
    QByteArray previousSignature() const;
    QString writePrevious(const QByteArray &manifest, const QByteArray &signature) const;

private:
    QString inside(const char *name) const
    {
        return m_path + QLatin1Char('/') + QLatin1String(name);
    }
    QString make() const;
    QString write(const QString &path, const QByteArray &content) const;

    const QString m_path;
};

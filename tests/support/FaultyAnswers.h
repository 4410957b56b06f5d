// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ScriptedServer.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>

/// An odd or wrong answer, what its server does after it, and how much of it reaches a client.
struct FaultyAnswer {
    enum class Ending {
        Close, ///< the connection is closed properly
        Reset, ///< the connection is dropped
        Hold,  ///< the connection stays until the client goes away
    };

    QString name; ///< the rule, for a row of a table
    QByteArray bytes;
    Ending ending = Ending::Close;
    /// The body that arrives with status 200; null if no such status arrives.
    QByteArray arrives;
    /// The network layer's message if no status arrives.
    QString error;
    bool waits = false; ///< whether a client waits for more that never comes
    /// How many bytes are sent at once; the others follow at one a second. Negative: all at once.
    int quick = -1;
};
Q_DECLARE_METATYPE(FaultyAnswer)

/// Every faulty answer that has \a body in it. The body has 1,000 bytes or more.
QList<FaultyAnswer> FaultyAnswers(const QByteArray &body);

/// An answer with \a body in gzip form, for the network layer to decompress.
FaultyAnswer GzipAnswer(const QByteArray &body);

/// Sends one answer on a connection and ends the connection as it says.
void Give(const FaultyAnswer &answer, ScriptedConnection &connection);

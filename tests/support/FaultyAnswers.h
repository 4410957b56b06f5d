// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ScriptedServer.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>

/// An answer that is odd or wrong, what its server does behind it, and what of it reaches a client.
struct FaultyAnswer {
    enum class Ending {
        Close, ///< the connection ends in good order
        Reset, ///< the connection is dropped
        Hold,  ///< the connection stays until the client goes away
    };

    QString name; ///< the rule, for a row of a table
    QByteArray bytes;
    Ending ending = Ending::Close;
    /// The body that arrives with status 200; null where no such status does.
    QByteArray arrives;
    /// What the network layer says where no status arrives.
    QString error;
    bool waits = false; ///< whether a client waits for more that never comes
    /// So many bytes are sent at once and the others one a second; negative for all at once.
    int quick = -1;
};
Q_DECLARE_METATYPE(FaultyAnswer)

/// Every faulty answer that has \a body in it. The body has 1,000 bytes or more.
QList<FaultyAnswer> FaultyAnswers(const QByteArray &body);

/// An answer whose body is \a body in gzip form, to be unpacked by the network layer.
FaultyAnswer GzipAnswer(const QByteArray &body);

/// Gives one answer on a connection: its bytes and its ending.
void Give(const FaultyAnswer &answer, ScriptedConnection &connection);

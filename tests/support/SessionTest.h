// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/Desktop.h"
#include "tests/support/ScriptedAnswers.h"
#include "tests/support/ScriptedServer.h"

#include <QObject>

#include <memory>

/// Base of a test of the real program: before the first test function it starts a desktop, and a
/// server that answers every request with the next one of m_answers. What the sessions leave
/// running becomes this process's.
class SessionTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

protected:
    /// \a port  where the server listens, on 127.0.0.1.
    explicit SessionTest(quint16 port) : m_port(port) {}

    ScriptedAnswers m_answers; // outlives the server, whose threads read it
    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ScriptedServer> m_server;

private:
    quint16 m_port;
};

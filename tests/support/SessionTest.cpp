// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "SessionTest.h"

#include "tests/support/Descendants.h"

#include <QTest>

void SessionTest::initTestCase()
{
    AdoptDescendants();
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->isUp());
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            connection.send(m_answers.next());
        },
        m_port);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/HostStart.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

HostStart::HostStart(const QString &install, const QString &program)
    : m_self(QCoreApplication::applicationFilePath())
{
    if (!program.isEmpty()) {
        m_program = QDir(QDir(install).absolutePath()).absoluteFilePath(program);
    }
}

void HostStart::start() const
{
    if (!m_program.isEmpty()) {
        (void)QProcess::startDetached(m_program, {m_self, QStringLiteral("no_check")});
    }
}

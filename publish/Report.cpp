// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Report.h"

#include "release/Messages.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>
#include <cstdlib>

Report::Report(Form form) : m_form(form) {}

void Report::say(const QString &text)
{
    if (m_form == Form::Words) {
        m_isWritten = Say(text) && m_isWritten;
    }
}

void Report::warn(const QString &text)
{
    m_warnings.append(text);
    Warn(text);
}

int Report::refuse(const QStringList &problems)
{
    m_problems += problems;
    return Refuse(problems);
}

int Report::end(int exitCode)
{
    if (m_form == Form::Words) {
        return m_isWritten ? exitCode : OutputFailure();
    }
    m_object.insert(QStringLiteral("success"), exitCode == EXIT_SUCCESS);
    m_object.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(m_warnings));
    m_object.insert(QStringLiteral("problems"), QJsonArray::fromStringList(m_problems));
    const QByteArray text = QJsonDocument(m_object).toJson();
    const bool written = std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()),
                                     stdout) == static_cast<std::size_t>(text.size()) &&
                         std::fflush(stdout) == 0;
    return written ? exitCode : Refuse({QStringLiteral("The JSON object cannot be written.")});
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>

#include <mutex>

/// The answers that a ScriptedServer's threads take while a test changes them.
class ScriptedAnswers {
public:
    ScriptedAnswers &operator=(const QList<QByteArray> &answers)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_answers = answers;
        return *this;
    }

    /// Each answer once, in order, then the last one over and over. Empty if there is none.
    QByteArray next()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_answers.size() > 1 ? m_answers.takeFirst() : m_answers.value(0);
    }

private:
    std::mutex m_mutex;
    QList<QByteArray> m_answers;
};

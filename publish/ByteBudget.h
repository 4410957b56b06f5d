// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <mutex>

/// The number of bytes that several threads together may hold in memory. Callable on any thread.
class ByteBudget {
public:
    explicit ByteBudget(quint64 bytes) : m_bytes(bytes) {}
    Q_DISABLE_COPY(ByteBudget)

    /// Waits until there is room for \a bytes beside what the others hold. More than the whole
    /// budget is allowed when nobody else holds anything.
    void take(quint64 bytes);
    /// Gives back what was taken.
    void giveBack(quint64 bytes);

private:
    const quint64 m_bytes;
    quint64 m_taken = 0;
    std::mutex m_mutex;
    std::condition_variable m_givenBack;
};

/// Holds bytes of a budget for as long as it lives.
class BudgetedBytes {
public:
    BudgetedBytes(ByteBudget &budget, quint64 bytes) : m_budget(budget), m_bytes(bytes)
    {
        m_budget.take(m_bytes);
    }
    ~BudgetedBytes() { m_budget.giveBack(m_bytes); }
    Q_DISABLE_COPY(BudgetedBytes)

private:
    ByteBudget &m_budget;
    const quint64 m_bytes;
};

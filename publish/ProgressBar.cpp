// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ProgressBar.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int BarWidth = 30;
const char *const ClearLine = "\r\033[K";

} // namespace

ProgressBar::ProgressBar() : m_visible(::isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar()
{
    if (m_visible) {
        (void)std::fputs(ClearLine, stderr);
    }
}

void ProgressBar::show(qint64 done, qint64 total, const QString &text) const
{
    if (!m_visible) {
        return;
    }
    const double share = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 1.0;
    const int filled = qBound(0, static_cast<int>(share * BarWidth), BarWidth);
    const QByteArray bar = QByteArray(filled, '#') + QByteArray(BarWidth - filled, '-');
    (void)std::fprintf(stderr, "%s[%s] %3d%%  %s", ClearLine, bar.constData(),
                       qBound(0, static_cast<int>(share * 100), 100), qUtf8Printable(text));
    (void)std::fflush(stderr);
}

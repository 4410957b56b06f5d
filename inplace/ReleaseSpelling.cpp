// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/ReleaseSpelling.h"

#include "release/ReleasePaths.h"

#include <QString>

#include <algorithm>

namespace {

QByteArray Folded(const QByteArray &path)
{
    const bool isPlain = std::all_of(path.cbegin(), path.cend(), [](char byte) {
        return static_cast<unsigned char>(byte) < 0x80;
    });
    return isPlain ? path.toLower() : FoldedPath(QString::fromUtf8(path)).toUtf8();
}

} // namespace

void ReleaseSpelling::add(const QByteArray &path)
{
    if (m_isSame) {
        m_paths.insert(Folded(path), path);
    }
}

QByteArray ReleaseSpelling::of(const QByteArray &path) const
{
    if (m_paths.isEmpty()) {
        return path;
    }
    QByteArray spelled;
    for (int from = 0, end = 0; end < path.size(); from = end + 1) {
        const int separator = path.indexOf('/', from);
        end = separator < 0 ? path.size() : separator;
        spelled +=
            (spelled.isEmpty() ? QByteArray() : QByteArray("/")) + path.mid(from, end - from);
        const QByteArray release = m_paths.value(Folded(spelled), spelled);
        if (release != spelled && m_isSame(path.left(end), release)) {
            spelled = release;
        }
    }
    return spelled;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/LinkCheck.h"

#include <QStringList>

namespace {

const QChar Separator = QLatin1Char('/');
constexpr int MostLinks = 32; // as many as every system follows

} // namespace

QString LinkCheck::reason(const QString &link) const
{
    QStringList here = link.split(Separator); // the physical path, without links and ".."
    here.removeLast();
    QStringList ahead = m_links.value(link).split(Separator);
    int followed = 1;
    if (m_links.value(link).startsWith(Separator)) {
        return QStringLiteral("is absolute");
    }
    while (!ahead.isEmpty()) {
        const QString name = ahead.takeFirst();
        if (name.isEmpty() || name == QLatin1String(".")) {
            continue;
        }
        if (name == QLatin1String("..")) {
            if (here.isEmpty()) {
                return QStringLiteral("leaves the release");
            }
            here.removeLast();
            continue;
        }
        here.append(name);
        const QString path = here.join(Separator);
        if (m_links.contains(path)) {
            const QString target = m_links.value(path);
            if (target.startsWith(Separator)) {
                return QStringLiteral("leads to the absolute \"%1\"").arg(target);
            }
            if (++followed > MostLinks) {
                return QStringLiteral("leads in a circle, or through more than %1 links")
                    .arg(MostLinks);
            }
            here.removeLast();
            ahead = target.split(Separator) + ahead;
        } else if (m_files.contains(path)) {
            if (!ahead.isEmpty()) {
                return QStringLiteral("goes through the file \"%1\"").arg(path);
            }
        } else if (!m_folders.contains(path)) {
            return QStringLiteral("leads to nothing");
        }
    }
    return {};
}

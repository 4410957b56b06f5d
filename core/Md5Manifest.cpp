// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <QList>

QMap<QString, tagDownloadFileInfo> ParseMd5File(QByteArray content)
{
    QMap<QString, tagDownloadFileInfo> result;
    const QList<QByteArray> lines = content.split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        const QList<QByteArray> fields = line.split('\t');
        if (fields.size() != 3) {
            continue;
        }
        // Hexadecimal on purpose, whatever the digits look like; no number reads as 0.
        const quint64 size = fields.at(1).toULongLong(nullptr, 16);

        tagDownloadFileInfo record;
        record.md5 = fields.at(0);
        record.sizeHigh = static_cast<quint32>(size >> 32U);
        record.sizeLow = static_cast<quint32>(size);
        record.path = QString::fromLocal8Bit(fields.at(2).constData());
        record.path.replace(QLatin1Char('\\'), QLatin1Char('/'));
        if (record.path.startsWith(QLatin1Char('/'))) {
            record.path.remove(0, 1);
        }
        result.insert(record.path, record);
    }
    return result;
}

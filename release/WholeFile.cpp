// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/WholeFile.h"

#include "release/DurableFile.h"

#include <QObject>

QString WriteWholeFile(const QString &path, const QString &scratch, const QByteArray &content)
{
    const QString reason = WriteDurably(path, scratch, content);
    return reason.isEmpty() ? reason : QObject::tr("无法写入%1").arg(path);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/WholeFile.h"

#include <QFile>
#include <QObject>

#include <cstdio>
#include <unistd.h>

QString WriteWholeFile(const QString &path, const QString &scratch, const QByteArray &content)
{
    // The toolkit's own way to do this takes a new name each time, which a killed run leaves
    // behind.
    QFile file(scratch);
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                         file.write(content) == content.size() && file.flush() &&
                         ::fsync(file.handle()) == 0;
    file.close();
    if (written && std::rename(QFile::encodeName(scratch).constData(),
                               QFile::encodeName(path).constData()) == 0) {
        return {};
    }
    (void)file.remove(); // one that stays is written over by the next run
    return QObject::tr("无法写入%1").arg(path);
}

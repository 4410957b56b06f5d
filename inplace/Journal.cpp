// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Journal.h"

#include "release/ReleasePaths.h"
#include "release/WholeFile.h"

#include <QFile>
#include <QFileInfo>
#include <QObject>

namespace {

const QByteArray Heading = "inplace_update journal 1";
const QByteArray NothingBefore = "nothing";
const QByteArray OtherBefore = "other";

/// The fields of a line, none of which can hold a TAB or a line end.
QByteArray LineOf(const Replacement &replacement)
{
    using Before = Replacement::Before;
    const QByteArray before = replacement.before == Before::Nothing ? NothingBefore
                              : replacement.before == Before::Other ? OtherBefore
                                                                    : replacement.oldMd5;
    return replacement.file.md5 + '\t' + before + '\t' + replacement.madeFolder.toUtf8() + '\t' +
           replacement.file.path.toUtf8() + '\n';
}

bool ReadLine(const QByteArray &line, Replacement &replacement)
{
    using Before = Replacement::Before;
    const QList<QByteArray> fields = line.split('\t');
    if (fields.size() != 4) {
        return false;
    }
    replacement.file.md5 = fields.at(0);
    replacement.before = fields.at(1) == NothingBefore ? Before::Nothing
                         : fields.at(1) == OtherBefore ? Before::Other
                                                       : Before::File;
    if (replacement.before == Before::File) {
        replacement.oldMd5 = fields.at(1);
    }
    replacement.madeFolder = QString::fromUtf8(fields.at(2));
    replacement.file.path = QString::fromUtf8(fields.at(3));
    // It is put back and removed by these names, so they must not lead out of the installation.
    return UnsafePathReason(replacement.file.path).isEmpty() &&
           (replacement.madeFolder.isEmpty() || UnsafePathReason(replacement.madeFolder).isEmpty());
}

} // namespace

// No release can hold a file of this name: '#' is refused in its paths.
Journal::Journal(const QDir &staging, const QDir &install)
    : m_path(staging.absoluteFilePath(QStringLiteral("inplace_update#journal"))),
      m_scratch(m_path + QStringLiteral("#new")),
      m_install(QFileInfo(install.absolutePath()).canonicalFilePath())
{
}

QString Journal::read()
{
    QFile file(m_path);
    if (!file.exists()) {
        return {};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return QObject::tr("无法读取%1:%2").arg(m_path, file.errorString());
    }
    m_wasLeft = true;
    QList<QByteArray> lines = file.readAll().split('\n');
    const QByteArray heading = lines.takeFirst();
    const QString owner = QString::fromUtf8(heading.mid(Heading.size() + 1));
    if (!heading.startsWith(Heading + '\t') || lines.isEmpty() || !lines.takeLast().isEmpty()) {
        return QObject::tr("%1不是升级日志").arg(m_path);
    }
    if (owner != m_install && QFileInfo::exists(owner)) {
        return QObject::tr("下载目录中有另一个安装目录未完成的升级:%1").arg(owner);
    }
    for (const QByteArray &line : qAsConst(lines)) {
        Replacement replacement;
        if (!ReadLine(line, replacement)) {
            return QObject::tr("%1不是升级日志").arg(m_path);
        }
        m_replacements.append(replacement);
    }
    return {};
}

QString Journal::write(const QList<Replacement> &replacements) const
{
    QByteArray content = Heading + '\t' + m_install.toUtf8() + '\n';
    for (const Replacement &replacement : replacements) {
        content += LineOf(replacement);
    }
    return WriteWholeFile(m_path, m_scratch, content);
}

void Journal::remove() const
{
    (void)QFile::remove(m_path); // one that stays only makes the next run look twice
    (void)QFile::remove(m_scratch);
}

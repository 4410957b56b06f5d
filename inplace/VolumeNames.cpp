// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Preconditions.h"

#include "inplace/TreeRemove.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QObject>
#include <QSet>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Whether every volume stores the name unchanged.
bool IsPlain(const QByteArray &name)
{
    for (const char character : name) {
        const bool isPlain = (character >= 'a' && character <= 'z') ||
                             (character >= 'A' && character <= 'Z') ||
                             (character >= '0' && character <= '9') || character == '-' ||
                             character == '_' || character == '.';
        if (!isPlain) {
            return false;
        }
    }
    return !name.endsWith('.') && name.size() < 100;
}

void AddNames(const QString &path, QSet<QByteArray> &names)
{
    const QList<QByteArray> components = path.toUtf8().split('/');
    for (const QByteArray &name : components) {
        if (!IsPlain(name)) {
            names.insert(name);
        }
    }
}

Problem Unstorable(const Layout &layout, const QByteArray &name)
{
    return {
        End::Names,
        QObject::tr("%1所在的卷无法保存文件名\"%2\"").arg(layout.install, QString::fromUtf8(name))};
}

/// Whether the folder returns exactly the name that was stored.
Problem TryName(const Layout &layout, const QByteArray &probe, const QByteArray &name)
{
    const QByteArray path = probe + '/' + name;
    const int file = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) {
        return errno == ENOSPC || errno == EDQUOT || errno == EIO
                   ? Problem{End::Storage, SystemError()}
                   : Unstorable(layout, name);
    }
    (void)::close(file);
    TreeEntries entries;
    const bool isKept =
        ListTree(probe, entries).isEmpty() && entries.size() == 1 && entries.front().path == name;
    (void)::unlink(path.constData()); // the folder is removed at the end anyway
    return isKept ? Problem() : Unstorable(layout, name);
}

} // namespace

Problem NamesProblem(const Layout &layout, const ReleaseManifest &release)
{
    QSet<QByteArray> names;
    for (const ManifestFile &file : release.files) {
        AddNames(file.path, names);
    }
    for (const ManifestLink &link : release.links) {
        AddNames(link.path, names);
    }
    for (const ManifestFolder &folder : release.folders) {
        AddNames(folder.path, names);
    }
    if (names.isEmpty()) {
        return {};
    }
    const QByteArray probe = QFile::encodeName(layout.probe);
    if (!RemoveTree(probe) || ::mkdir(probe.constData(), 0700) != 0) {
        return {End::Storage, QObject::tr("%1无法建立:%2").arg(layout.probe, SystemError())};
    }
    Problem problem;
    for (const QByteArray &name : qAsConst(names)) {
        problem = TryName(layout, probe, name);
        if (problem) {
            break;
        }
    }
    (void)RemoveTree(probe); // what stays is removed by the next run
    return problem;
}

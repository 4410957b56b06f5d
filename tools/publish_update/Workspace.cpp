// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tools/publish_update/Workspace.h"

#include "app/FileNames.h"
#include "tools/publish_update/Formats.h"

#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

const QString ReleaseName = QStringLiteral("release");
const QString TargetName = QStringLiteral("name");

QString WriteReason(const QString &path)
{
    return QStringLiteral("\"%1\" cannot be written.").arg(path);
}

bool Write(const QString &path, const QByteArray &content)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() &&
           file.commit();
}

QByteArray Read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Moves a file or folder at one stroke; a file in the way is replaced.
bool Move(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool Exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

Workspace::Workspace(const QString &outputDir)
    : m_output(outputDir), m_work(m_output.absoluteFilePath(WorkspacePrefix))
{
}

Workspace::~Workspace()
{
    if (m_opened) {
        (void)QFile::remove(m_work.absoluteFilePath(TargetName));
        (void)QDir(m_work).removeRecursively(); // what stays is a leftover for the next run
    }
    if (m_lock >= 0) {
        (void)::close(m_lock); // unlocks
    }
}

QString Workspace::open()
{
    if (!m_output.mkpath(QStringLiteral("."))) {
        return QStringLiteral("The folder \"%1\" cannot be created.").arg(m_output.path());
    }
    if (QString reason = lock(); !reason.isEmpty()) {
        return reason;
    }
    if (QString reason = removeLeftovers(); !reason.isEmpty()) {
        return reason;
    }
    m_opened = true;
    return m_output.mkpath(releaseDir()) ? QString() : WriteReason(m_output.path());
}

/// Locks the output folder itself: no lock file is left behind, and the system unlocks it when the
/// process is killed.
QString Workspace::lock()
{
    m_lock = ::open(QFile::encodeName(m_output.absolutePath()).constData(), O_RDONLY | O_CLOEXEC);
    if (m_lock < 0) {
        return QStringLiteral("\"%1\" cannot be read.").arg(m_output.path());
    }
    // A file system without locks is taken for one without a second publisher.
    if (::flock(m_lock, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return QStringLiteral("Another publish_update is at work in \"%1\".").arg(m_output.path());
    }
    return {};
}

QString Workspace::releaseDir() const
{
    return m_work.absoluteFilePath(ReleaseName);
}

QString Workspace::removeLeftovers()
{
    // A run that ended between its two strokes left a release that nothing announces yet.
    const QString name = QString::fromUtf8(Read(m_work.absoluteFilePath(TargetName)));
    UpdateDescription announced;
    (void)DescriptionProblems(Read(m_output.absoluteFilePath(UPDATE_DESCRIBE_FILENAME)), announced);
    if (FolderReason(name).isEmpty() && name != announced.folder && !Exists(releaseDir()) &&
        Exists(m_output.absoluteFilePath(name)) &&
        !Move(m_output.absoluteFilePath(name), releaseDir())) {
        return WriteReason(m_output.absoluteFilePath(name));
    }
    (void)QFile::remove(m_work.absoluteFilePath(TargetName)); // first: it tells what to take back
    if (!QDir(m_work).removeRecursively()) {
        return QStringLiteral("The leftover \"%1\" cannot be removed.").arg(m_work.path());
    }
    return {};
}

QString Workspace::nameReason(const QString &name) const
{
    const QString target = m_output.absoluteFilePath(name);
    if (!Exists(target)) {
        return {};
    }
    return QStringLiteral("\"%1\" exists already; what was published is never changed. Choose "
                          "another folder with --folder.")
        .arg(target);
}

QString Workspace::publish(const QString &name, const QByteArray &description)
{
    const QString target = m_output.absoluteFilePath(name);
    const QString prepared = m_work.absoluteFilePath(UPDATE_DESCRIBE_FILENAME);
    const QString announced = m_output.absoluteFilePath(UPDATE_DESCRIBE_FILENAME);
    if (QString taken = nameReason(name); !taken.isEmpty()) {
        return taken;
    }
    if (!Write(prepared, description) ||
        !Write(m_work.absoluteFilePath(TargetName), name.toUtf8()) || !Move(releaseDir(), target)) {
        return WriteReason(target);
    }
    if (!Move(prepared, announced)) {
        (void)Move(target, releaseDir()); // nobody was told of it yet
        return WriteReason(announced);
    }
    return {};
}

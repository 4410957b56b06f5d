// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Workspace.h"

#include "app/FileNames.h"
#include "release/DurableFile.h"
#include "release/Formats.h"
#include "release/SystemCalls.h"

#include <QDirIterator>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

const QString ReleaseName = QStringLiteral("release");
const QString TargetName = QStringLiteral("name");
const QString HiddenPrefix = QStringLiteral("hidden-");

QString WriteReason(const QString &path)
{
    return QStringLiteral("\"%1\" cannot be written: %2.").arg(path, SystemError());
}

/// Writes a file of the work folder. Returns why that failed, or empty text.
QString Write(const QString &path, const QByteArray &content)
{
    const QString reason = WriteDurably(path, path + QStringLiteral(".new"), content);
    return reason.isEmpty() ? reason : reason + QLatin1Char('.');
}

QByteArray Read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool Exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// Syncs a folder and the folders in it. Returns why that failed, or empty text.
QString SyncFolders(const QString &top)
{
    QDirIterator at(top, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    QStringList folders{top};
    while (at.hasNext()) {
        folders.append(at.next());
    }
    for (const QString &folder : qAsConst(folders)) {
        if (!SyncFolder(folder)) {
            return WriteReason(folder);
        }
    }
    return {};
}

} // namespace

Workspace::Workspace(const QString &outputDir)
    : m_output(outputDir), m_work(m_output.absoluteFilePath(WorkspacePrefix))
{
}

Workspace::~Workspace()
{
    if (m_opened && !m_isKept) {
        (void)QFile::remove(m_work.absoluteFilePath(TargetName));
        (void)QDir(m_work).removeRecursively(); // the next run removes what stays
    }
    for (const QString &folder : qAsConst(m_made)) {
        (void)QDir().rmdir(folder); // stays if something was published in it
    }
    if (m_lock >= 0) {
        (void)::close(m_lock); // unlocks
    }
}

QString Workspace::open()
{
    if (QString reason = makeOutput(); !reason.isEmpty()) {
        return reason;
    }
    if (QString reason = lock(); !reason.isEmpty()) {
        return reason;
    }
    if (QString reason = removeLeftovers(); !reason.isEmpty()) {
        return reason;
    }
    for (const QString &folder : {m_work.path(), releaseDir()}) {
        if (!MakeFolder(folder)) {
            return WriteReason(folder);
        }
        m_opened = true;
    }
    return {};
}

/// Creates the output folder and those above it, and remembers which were missing.
QString Workspace::makeOutput()
{
    QStringList missing;
    for (QString path = m_output.absolutePath(); !Exists(path); path = QFileInfo(path).path()) {
        missing.prepend(path);
    }
    for (const QString &folder : qAsConst(missing)) {
        if (MakeFolder(folder)) {
            m_made.prepend(folder);
        } else if (errno != EEXIST) { // another publisher may have created it
            return QStringLiteral("The folder \"%1\" cannot be created: %2.")
                .arg(folder, SystemError());
        }
    }
    for (const QString &folder : qAsConst(m_made)) {
        if (!SyncFolder(QFileInfo(folder).path())) {
            return WriteReason(QFileInfo(folder).path());
        }
    }
    return {};
}

/// Locks the output folder itself: no lock file is left behind, and the system unlocks it when the
/// process is killed.
QString Workspace::lock()
{
    m_lock = ::open(QFile::encodeName(m_output.absolutePath()).constData(), O_RDONLY | O_CLOEXEC);
    if (m_lock < 0) {
        return QStringLiteral("\"%1\" cannot be read: %2.").arg(m_output.path(), SystemError());
    }
    // On a file system without locks, assume that there is no second publisher.
    if (::flock(m_lock, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return QStringLiteral("Another publish_update is running in \"%1\".").arg(m_output.path());
    }
    return {};
}

QString Workspace::releaseDir() const
{
    return m_work.absoluteFilePath(ReleaseName);
}

QString Workspace::removeLeftovers()
{
    const QString leftover =
        QStringLiteral("The leftover \"%1\" cannot be removed.").arg(m_work.path());
    if (QFileInfo(m_work.path()).isSymLink()) { // neither it nor its target is ours
        return QFile::remove(m_work.path()) ? QString() : leftover;
    }
    // A run that was killed between its two renames left a release that is not announced yet. Only
    // then is the new update.json still here and the release no longer.
    const QString name = QString::fromUtf8(Read(m_work.absoluteFilePath(TargetName)));
    PublishedDescription announced;
    (void)DescriptionProblems(Read(m_output.absoluteFilePath(UPDATE_DESCRIBE_FILENAME)), announced);
    if (Exists(m_work.absoluteFilePath(UPDATE_DESCRIBE_FILENAME)) && !Exists(releaseDir()) &&
        FolderReason(name).isEmpty() && name != announced.folder &&
        Exists(m_output.absoluteFilePath(name)) &&
        !Move(m_output.absoluteFilePath(name), releaseDir())) {
        return WriteReason(m_output.absoluteFilePath(name));
    }
    (void)QFile::remove(
        m_work.absoluteFilePath(TargetName)); // first, because it says what to take back
    return QDir(m_work).removeRecursively() ? QString() : leftover;
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
    if (QString taken = nameReason(name); !taken.isEmpty()) {
        return taken;
    }
    QString reason = Write(prepared, description);
    if (reason.isEmpty()) {
        reason = Write(m_work.absoluteFilePath(TargetName), name.toUtf8());
    }
    if (reason.isEmpty()) {
        reason = SyncFolders(m_work.path());
    }
    if (!reason.isEmpty()) {
        return reason;
    }
    if (!Move(releaseDir(), target)) {
        return WriteReason(target);
    }
    // update.json must not survive a power loss that its release does not.
    reason =
        SyncFolder(m_output.path()) ? replaceDescription(prepared) : WriteReason(m_output.path());
    if (!reason.isEmpty() && Exists(prepared)) {
        m_isKept = !Move(target, releaseDir()); // it is not announced yet
    }
    return reason;
}

QString Workspace::announce(const QByteArray &description)
{
    const QString prepared = m_work.absoluteFilePath(UPDATE_DESCRIBE_FILENAME);
    const QString reason = Write(prepared, description);
    return reason.isEmpty() ? replaceDescription(prepared) : reason;
}

/// Replaces update.json with a file that survives a power loss.
QString Workspace::replaceDescription(const QString &prepared)
{
    const QString announced = m_output.absoluteFilePath(UPDATE_DESCRIBE_FILENAME);
    if (!Move(prepared, announced)) {
        return WriteReason(announced);
    }
    if (!SyncFolder(m_output.path())) {
        return QStringLiteral("\"%1\" was replaced, but a power loss may bring the old one back: "
                              "\"%2\" cannot be synced: %3.")
            .arg(announced, m_output.path(), SystemError());
    }
    return {};
}

QString Workspace::hide(const QStringList &folders, QStringList &hidden)
{
    QString reason;
    for (const QString &folder : folders) {
        const QString from = m_output.absoluteFilePath(folder);
        const QString to = m_work.absoluteFilePath(HiddenPrefix + QString::number(hidden.size()));
        if (!Move(from, to)) {
            reason = QStringLiteral("\"%1\" cannot be removed: %2.").arg(from, SystemError());
            break;
        }
        hidden.append(folder);
    }
    if (reason.isEmpty() && !SyncFolder(m_output.path())) {
        reason = WriteReason(m_output.path());
    }
    for (int index = 0; index < hidden.size(); ++index) {
        const QString path = m_work.absoluteFilePath(HiddenPrefix + QString::number(index));
        if (!QDir(path).removeRecursively() && reason.isEmpty()) {
            reason =
                QStringLiteral("\"%1\" is no longer visible, but part of it is still in \"%2\".")
                    .arg(hidden.at(index), path);
        }
    }
    return reason;
}

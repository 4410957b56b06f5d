// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tools/inplace_update/InplaceUpdate.h"

#include "app/FileNames.h"
#include "tools/inplace_update/Journal.h"
#include "tools/inplace_update/Modes.h"
#include "tools/inplace_update/Release.h"
#include "tools/inplace_update/Requirements.h"
#include "tools/inplace_update/Restore.h"
#include "tools/inplace_update/Worker.h"

#include <QLockFile>
#include <QObject>
#include <QSaveFile>

namespace {

Outcome Failure(const QString &message)
{
    return {false, false, message};
}

/// Keeps other updates away from a folder, and shows on the way that it can be written.
class FolderLock {
public:
    explicit FolderLock(const QDir &folder)
        : m_folder(folder.absolutePath()),
          m_file(folder.absoluteFilePath(QStringLiteral("inplace_update#lock")))
    {
        m_file.setStaleLockTime(0); // an update may take long; only a dead one's lock is stale
    }

    /// Returns why the folder cannot be had, or empty text.
    QString take()
    {
        if (m_file.tryLock(0) || takeFromDead()) {
            return {};
        }
        return m_file.error() == QLockFile::LockFailedError
                   ? QObject::tr("另一个升级正在使用目录%1").arg(m_folder)
                   : QObject::tr("目录%1无法写入").arg(m_folder);
    }

private:
    /// An update that was killed while it took the lock leaves a file that names nobody, and that
    /// no rule of staleness covers. The file of a living one cannot be removed.
    bool takeFromDead()
    {
        return namesNobody() && !m_file.tryLock(BeginningMs) && namesNobody() &&
               m_file.removeStaleLockFile() && m_file.tryLock(0);
    }

    bool namesNobody() const
    {
        qint64 process = 0;
        QString host;
        QString program;
        return m_file.error() == QLockFile::LockFailedError &&
               !m_file.getLockInfo(&process, &host, &program);
    }

    static constexpr int BeginningMs = 1000; // more than it takes to write one's name
    const QString m_folder;
    QLockFile m_file;
};

/// One run over a locked installation.
class Run {
public:
    Run(const UpdateOptions &options, const QDir &staging, const QDir &install)
        : m_options(options), m_staging(staging), m_install(install), m_journal(staging, install)
    {
    }

    Outcome toTheEnd();

private:
    Outcome replaceFiles();
    Outcome undo(const QString &message) const;
    void endJournal() const;
    Outcome finish(bool update, const QString &message) const;
    QString localManifest() const { return m_install.absoluteFilePath(LOCAL_MD5_FILENAME); }

    const UpdateOptions &m_options;
    const QDir m_staging;
    const QDir m_install;
    Journal m_journal;
    Release m_release;
    QList<Replacement> m_replacements;
};

Outcome Run::toTheEnd()
{
    QString problem = m_journal.read();
    if (problem.isEmpty()) {
        problem = TakeBackUnfinished(m_journal.replacements(), m_install);
    }
    if (problem.isEmpty()) {
        problem = FetchRelease(m_options.baseUrl, m_release);
    }
    if (!problem.isEmpty()) {
        return Failure(problem);
    }
    // After an interrupted update the local manifest may be wrong: a folder stands for none then.
    const QString believed = m_journal.wasLeft() ? m_install.absolutePath() : localManifest();
    m_replacements = FindReplacements(m_release.files, believed, m_install);
    if (m_replacements.isEmpty()) {
        return finish(false, QObject::tr("已是最新版本"));
    }
    RemoveLinks(m_staging);
    problem = RoomReason(m_replacements, m_staging, m_install);
    if (problem.isEmpty()) {
        problem = m_journal.write(m_replacements);
    }
    return problem.isEmpty() ? replaceFiles() : Failure(problem);
}

Outcome Run::replaceFiles()
{
    QList<tagDownloadFileInfo> files;
    for (const Replacement &replacement : qAsConst(m_replacements)) {
        files.append(replacement.file);
    }
    const WorkerResult result =
        RunWorker(m_release.filesUrl, m_staging, m_install, files, m_options.console);
    if (result.message.isEmpty()) {
        endJournal();
        return Failure(QObject::tr("已取消"));
    }
    if (!result.success) {
        return undo(result.message);
    }
    for (const Replacement &replacement : qAsConst(m_replacements)) {
        if (StandingOf(replacement, m_install) != Standing::New ||
            !SettleMode(replacement, m_install)) {
            return undo(QObject::tr("安装后的文件%1不对").arg(replacement.file.path));
        }
    }
    return finish(true, result.message);
}

Outcome Run::undo(const QString &message) const
{
    bool changed = false;
    const QString problem = TakeBackAll(m_replacements, m_install, changed);
    if (!problem.isEmpty()) {
        return Failure(QObject::tr("%1(%2，安装未能恢复原状)").arg(message, problem));
    }
    endJournal();
    return Failure(changed ? QObject::tr("%1(安装已恢复原状)").arg(message) : message);
}

/// Ends the journal of a run that has changed nothing in the end.
void Run::endJournal() const
{
    // After an interrupted run it must stay: it is still what makes the local manifest doubtful.
    if (!m_journal.wasLeft()) {
        m_journal.remove();
    }
}

Outcome Run::finish(bool update, const QString &message) const
{
    QSaveFile file(localManifest());
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(m_release.manifest) != m_release.manifest.size() || !file.commit()) {
        return {false, update,
                QObject::tr("无法写入%1:%2").arg(localManifest(), file.errorString())};
    }
    m_journal.remove();
    return {true, update, message};
}

} // namespace

Outcome UpdateInPlace(const UpdateOptions &options)
{
    const QDir staging(options.staging);
    const QDir install(options.install);
    QString reason = FoldersReason(staging, install);
    if (!reason.isEmpty()) {
        return Failure(reason);
    }
    FolderLock installLock(install);
    FolderLock stagingLock(staging);
    for (FolderLock *lock : {&installLock, &stagingLock}) {
        reason = lock->take();
        if (!reason.isEmpty()) {
            return Failure(reason);
        }
    }
    return Run(options, staging, install).toTheEnd();
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/InplaceUpdate.h"

#include "app/FileNames.h"
#include "inplace/FolderLock.h"
#include "inplace/Journal.h"
#include "inplace/Modes.h"
#include "inplace/Release.h"
#include "inplace/Requirements.h"
#include "inplace/Restore.h"
#include "inplace/Worker.h"
#include "release/WholeFile.h"

#include <QFile>
#include <QObject>

namespace {

Outcome Failure(const QString &message)
{
    return {false, false, message};
}

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
    void removeApplied() const;
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
    problem = LinksReason(m_replacements, m_install);
    if (problem.isEmpty()) {
        problem = RoomReason(m_replacements, m_staging, m_install);
    }
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

/// Removes what a run that was killed between copying a file to the installation and removing its
/// source has left: everything is installed now.
void Run::removeApplied() const
{
    RemoveLinks(m_staging);
    const QStringList paths = m_release.files.keys();
    for (const QString &path : paths) {
        (void)QFile::remove(m_staging.absoluteFilePath(path)); // mostly there is none
    }
}

Outcome Run::finish(bool update, const QString &message) const
{
    const QString scratch = m_install.absoluteFilePath(QStringLiteral("inplace_update#manifest"));
    const QString problem = WriteWholeFile(localManifest(), scratch, m_release.manifest);
    if (!problem.isEmpty()) {
        return {false, update, problem};
    }
    if (m_journal.wasLeft()) {
        removeApplied();
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

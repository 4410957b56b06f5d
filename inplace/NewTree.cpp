// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/NewTree.h"

#include "app/FileNames.h"
#include "inplace/Preconditions.h"
#include "inplace/Staging.h"
#include "inplace/TreeBuild.h"
#include "inplace/TreeChange.h"
#include "inplace/TreeSettle.h"
#include "inplace/TreeVerify.h"
#include "inplace/Worker.h"
#include "release/DurableFile.h"
#include "release/FileCalls.h"

#include <QFile>
#include <QObject>

#include <unistd.h>

namespace {

/// Whether the volume finds one entry under both paths.
bool IsSameEntry(const QByteArray &one, const QByteArray &other)
{
    struct stat first {};
    struct stat second {};
    return ::lstat(one.constData(), &first) == 0 && ::lstat(other.constData(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// A volume that fills up meanwhile first causes other failures.
Problem OrNoRoom(const Problem &problem, const Layout &layout,
                 const std::vector<const PlannedEntry *> &fetched)
{
    const bool isSuspect = problem.end == End::Download || problem.end == End::Verification;
    const Problem room = isSuspect && !fetched.empty() ? RoomProblem(layout, fetched) : Problem();
    return room ? room : problem;
}

} // namespace

NewTree::NewTree(const RunParts &parts)
    : m_options(parts.options), m_layout(parts.layout), m_installed(parts.installed),
      m_candidate(parts.candidate), m_stop(parts.stop)
{
}

Problem NewTree::make(Source source)
{
    const QByteArray install = QFile::encodeName(m_layout.install);
    const QByteArray next = QFile::encodeName(m_layout.next);
    if (!m_installed.unreadable.isEmpty()) {
        return {End::Storage,
                m_installed.unreadable}; // or the release's files would count as the user's
    }
    const QString reason = ListTree(install, m_there);
    if (!reason.isEmpty()) {
        return {End::Storage, reason};
    }
    Problem problem = InnerVolumeProblem(m_layout, m_there);
    if (problem) {
        return problem;
    }
    const auto isSame = [&install](const QByteArray &there, const QByteArray &other) {
        return IsSameEntry(install + '/' + there, install + '/' + other);
    };
    PlanSources sources{
        m_candidate.manifest, m_installed.known(), m_there, {}, m_installed.isBundle, isSame};
    (void)::stat(install.constData(), &sources.root); // it was just listed
    m_plan = PlanTree(sources);

    TreeBuild build(next, m_plan, m_hashed);
    problem = build.prepare();
    if (!problem) {
        problem = fill(build, source);
    }
    const bool isInside = m_layout.isManifestInside(isBundle());
    if (!problem && isInside) {
        problem = putManifest();
    }
    if (!problem) {
        problem = SettleTree(next, m_plan, install, m_hashed);
    }
    if (!problem) {
        problem = VerifyTree(next, m_plan, isInside, m_hashed);
    }
    return OrNoRoom(problem, m_layout, build.missing());
}

/// Gets the files of the release, from the nearest place first.
Problem NewTree::fill(TreeBuild &build, Source source)
{
    Problem problem;
    if (source == Source::Previous) {
        problem = build.takeFrom(QFile::encodeName(m_layout.previous), TreeBuild::Take::Share);
    }
    if (!problem) {
        problem = build.takeInstalled(QFile::encodeName(m_layout.install), m_installed.known());
    }
    if (!problem) {
        problem = PruneStaging(m_layout.fetch, build.missing());
    }
    if (!problem) {
        problem = build.takeFrom(QFile::encodeName(m_layout.fetch), TreeBuild::Take::Move);
    }
    if (problem || build.missing().empty()) {
        return problem;
    }
    if (source != Source::Network) {
        return {End::NothingReady,
                QObject::tr("没有已下载的文件%1").arg(build.missing().front()->file->path)};
    }
    problem = RoomProblem(m_layout, build.missing());
    return problem ? problem : download(build.missing());
}

Problem NewTree::download(const std::vector<const PlannedEntry *> &missing)
{
    WorkerTask task;
    task.url = m_options.baseUrl + QLatin1Char('/') + m_candidate.folder + QLatin1Char('/');
    task.staging = QDir(m_layout.fetch);
    task.install = QDir(m_layout.next);
    task.stallSeconds = m_options.stallSeconds;
    task.console = !m_options.hasWindows();
    qint64 bytes = 0;
    for (const PlannedEntry *entry : missing) {
        task.files.append(ManifestRecord(*entry->file));
        bytes += static_cast<qint64>(entry->file->size);
    }
    Problem problem = RunWorker(task, m_stop);
    if (!problem) {
        m_files += task.files.size();
        m_bytes += bytes;
    }
    return problem;
}

/// Puts the manifest into the tree; a plain folder contains its own.
Problem NewTree::putManifest() const
{
    const QString path = m_layout.next + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    const QString part = m_layout.next + QStringLiteral("/inplace_update#part");
    QString reason = WriteDurably(path, part, m_candidate.content);
    if (reason.isEmpty() && !m_candidate.signature.isEmpty()) {
        reason = WriteDurably(SignaturePath(path), part, m_candidate.signature);
    }
    struct stat install {};
    if (reason.isEmpty() && ::geteuid() == 0 &&
        ::stat(QFile::encodeName(m_layout.install).constData(), &install) == 0) {
        for (const QString &file : {path, SignaturePath(path)}) {
            (void)::lchown(QFile::encodeName(file).constData(), install.st_uid, install.st_gid);
        }
    }
    return reason.isEmpty() ? Problem() : Problem{End::Storage, reason};
}

bool NewTree::isCurrent() const
{
    return IsUnchangedSince({QFile::encodeName(m_layout.next), m_plan, m_hashed,
                             QFile::encodeName(m_layout.install), m_there});
}

std::vector<QByteArray> NewTree::unwritten() const
{
    std::vector<QByteArray> paths;
    for (const PlannedEntry &entry : m_plan) {
        const bool isShared = WritesVolumes && entry.file && entry.there &&
                              m_hashed.isShared(entry.path, entry.there->about);
        const bool isKind = entry.kind == EntryKind::File || entry.kind == EntryKind::Folder;
        if (isKind && !isShared) {
            paths.push_back(entry.path);
        }
    }
    return paths;
}

bool NewTree::isAsInstalled()
{
    const bool isInside = m_layout.isManifestInside(isBundle());
    // Files that both trees share are known to be right.
    return m_installed.content == m_candidate.content &&
           !VerifyTree(QFile::encodeName(m_layout.install), m_plan, isInside, m_hashed);
}

bool NewTree::isBundle() const
{
    const PlannedEntry *list = FindPlanned(m_plan, "Contents/Info.plist");
    return list && list->kind == EntryKind::File;
}

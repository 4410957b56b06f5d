// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "engine/DownloadThread.h"

#include <QFile>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <cstdio>
#include <utility>

namespace {

QByteArray DecomposedUtf8(const QString &path)
{
    return path.normalized(QString::NormalizationForm_D).toUtf8();
}

} // namespace

CDownloadThread::CDownloadThread(QString url, QDir downloadDir, QDir appDir,
                                 QList<tagDownloadFileInfo> files, QObject *parent)
    : QThread(parent), m_url(std::move(url)), m_downloadDir(downloadDir), m_appDir(appDir),
      m_files(std::move(files))
{
    qRegisterMetaType<int64_t>("int64_t"); // the meta-object itself registers QFileInfo alone
    downloadOne();
}

bool CDownloadThread::success()
{
    return m_success;
}

QString CDownloadThread::errormsg() const
{
    return m_errormsg;
}

void CDownloadThread::downloadOne()
{
    if (m_current >= m_files.size()) {
        applyUpdate();
        return;
    }
    if (requestOne()) {
        return;
    }
    // Recurses once per file that is already staged: nothing may stay alive across this call.
    ++m_current;
    downloadOne();
}

QFileInfo CDownloadThread::stagingFile() const
{
    return QFileInfo(m_downloadDir.absoluteFilePath(m_files.at(m_current).path));
}

bool CDownloadThread::isStaged(const QFileInfo &staging) const
{
    return staging.isFile() && CheckFileMd5(staging.absoluteFilePath(), m_files.at(m_current).md5);
}

bool CDownloadThread::clearTheWay(const QFileInfo &staging)
{
    const QString path = staging.absoluteFilePath();
    if (!staging.exists()) {
        if (!staging.absoluteDir().exists()) {
            (void)QDir().mkpath(staging.absolutePath()); // a missing folder shows when writing
        }
        return true;
    }
    if (staging.isFile()) {
        return true; // wrong content, which stays until a good download truncates it
    }
    const bool removed = staging.isDir() ? QDir(path).removeRecursively() : QFile::remove(path);
    return removed || fail(staging, tr("路径%1被占用，无法删除!").arg(path));
}

/// Returns false when the file is staged already and there is nothing to request.
bool CDownloadThread::requestOne()
{
    const QFileInfo staging = stagingFile(); // asks the disk once
    if (isStaged(staging)) {
        return false;
    }
    if (!clearTheWay(staging)) {
        return true;
    }
    emit downloadStarted(staging, m_current, m_files.size());

    const QUrl url(m_url + m_files.at(m_current).path, QUrl::TolerantMode);
    QNetworkRequest request(url);
    // Qt 6 would follow redirects.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply *reply = m_manager.get(request);
    if (!reply) {
        fail(staging, tr("下载更新文件%1失败").arg(staging.fileName()));
        return true;
    }
    connect(reply, &QNetworkReply::downloadProgress, this, &CDownloadThread::downloadProgress);
    connect(reply, &QNetworkReply::finished, this, &CDownloadThread::downloadOneFinished);
    return true;
}

void CDownloadThread::downloadOneFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (stage(*reply)) {
        ++m_current;
        downloadOne();
    }
    reply->deleteLater();
}

bool CDownloadThread::stage(QNetworkReply &reply)
{
    const QFileInfo staging = stagingFile();
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 200) {
        return fail(staging, tr("下载更新文件%1网络错误").arg(staging.fileName()));
    }
    const QByteArray body = reply.readAll();
    if (!checkBody(body, staging)) {
        return false;
    }
    QFile file(staging.absoluteFilePath());
    if (!file.open(QIODevice::ReadWrite | QIODevice::Truncate)) {
        return fail(staging, tr("更新文件%1写入失败").arg(staging.fileName()));
    }
    (void)file.write(body); // unchecked on purpose: the next run checks the staged file
    file.close();
    return true;
}

bool CDownloadThread::checkBody(const QByteArray &body, const QFileInfo &staging)
{
    const tagDownloadFileInfo record = m_files.at(m_current);
    // Low half first on purpose: callers swap the halves that the manifest gave.
    const quint64 expected = (quint64{record.sizeLow} << 32U) + record.sizeHigh;
    if (static_cast<qint64>(expected) != qint64{body.size()}) {
        return fail(staging, tr("下载更新文件%1大小不对(预期%2，实际%3)")
                                 .arg(staging.fileName(), QString::number(expected),
                                      QString::number(body.size())));
    }
    if (Md5Hash(body) != record.md5) {
        return fail(staging, tr("更新文件%1校验不对").arg(staging.fileName()));
    }
    return true;
}

void CDownloadThread::applyUpdate()
{
    for (const tagDownloadFileInfo &record : qAsConst(m_files)) {
        if (!applyOne(record.path)) {
            return;
        }
    }
    m_success = true;
    m_errormsg = tr("更新成功");
    quit();
}

bool CDownloadThread::applyOne(const QString &path)
{
    const QFileInfo target(m_appDir.absoluteFilePath(path));
    if (target.exists()) {
        if (!moveAside(path, target)) {
            return false;
        }
    } else if (!target.absoluteDir().exists() && !m_appDir.mkpath(target.absolutePath())) {
        return fail(target, tr("创建目录%1失败").arg(target.absolutePath()));
    }
    return QFile::rename(m_downloadDir.absoluteFilePath(path), m_appDir.absoluteFilePath(path)) ||
           fail(target, tr("覆盖文件%1失败").arg(target.fileName()));
}

bool CDownloadThread::moveAside(const QString &path, const QFileInfo &target)
{
    const QFileInfo kept(m_appDir.absoluteFilePath(path + QLatin1String(".old")));
    if (kept.exists() && !QFile::remove(kept.absoluteFilePath())) {
        return fail(target, tr("删除文件%1失败").arg(kept.fileName()));
    }
    // Decomposed on purpose, as the target's file systems store names; a file system that compares
    // bytes does not find a composed name this way.
    const QByteArray from = DecomposedUtf8(target.absoluteFilePath());
    const QByteArray to = DecomposedUtf8(kept.absoluteFilePath());
    return std::rename(from.constData(), to.constData()) == 0 ||
           fail(target,
                tr("重命名%1为%2失败").arg(target.absoluteFilePath(), kept.absoluteFilePath()));
}

/// Ends the work with \a message. Always returns false, so that a step can return it.
bool CDownloadThread::fail(const QFileInfo &file, const QString &message)
{
    m_errormsg = message;
    emit downloadFail(file, m_errormsg);
    quit();
    return false;
}

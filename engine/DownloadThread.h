// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QList>
#include <QNetworkAccessManager>
#include <QString>
#include <QThread>

#include <atomic>
#include <cstdint>

class QNetworkReply;

/// Downloads the files of an update one by one, checks them and applies them to the installation.
///
/// Everything happens on the thread that constructs the object, driven by that thread's event loop.
/// The object's own thread, once started, only runs an idle event loop, whose end means that the
/// work is over. quit() from outside ends that thread only; to stop the work, destroy the object.
///
/// Each file is fetched whole into memory, checked by HTTP status, size and MD5 text, and written
/// into the staging directory under its relative path. Files staged there by an earlier run are
/// kept when their MD5 text is right. After the last file the staged files are moved into the
/// installation, and every file they replace stays beside them with the suffix ".old".
///
/// The first failure ends the work: what is staged stays staged and what is applied stays
/// applied. An ended object is not used again.
class CDownloadThread : public QThread {
    Q_OBJECT

public:
    /// Begins at once: when the constructor returns, the first request has been sent, or the first
    /// failure has happened, or, with nothing to fetch, all the work is done.
    ///
    /// \a url          base address, which ends in '/': a file's path is appended unchanged.
    /// \a downloadDir  the staging directory; directories below it are made as needed.
    /// \a appDir       the installation; directories below it are made as needed.
    /// \a files        the files to fetch, in this order. The size expected of a body is
    ///                 sizeLow * 2^32 + sizeHigh.
    CDownloadThread(QString url, QDir downloadDir, QDir appDir, QList<tagDownloadFileInfo> files,
                    QObject *parent = nullptr);

    /// Returns whether all files were downloaded and applied. Call it after finished().
    bool success();

    /// Returns the text of the failure or of the success; empty while the work goes on.
    QString errormsg() const;

signals:
    /// A transfer begins. \a filename is the file in the staging directory, \a current its index
    /// counted from 0, \a total the number of files. Files that are already staged are skipped.
    void downloadStarted(QFileInfo filename, int current, int total);

    /// Progress of the current transfer, as the network reports it; \a bytesTotal is -1 if the
    /// server gave no length, and both are 0 for an empty body or a connection that was refused.
    void downloadProgress(int64_t bytesReceived, int64_t bytesTotal);

    /// The work has ended with \a errormsg. \a filename is the file in the staging directory, or
    /// the one in the installation when applying failed.
    void downloadFail(QFileInfo filename, QString errormsg);

private:
    void downloadOne();
    void downloadOneFinished();
    void applyUpdate();

    QFileInfo stagingFile() const;
    bool isStaged(const QFileInfo &staging) const;
    bool clearTheWay(const QFileInfo &staging);
    bool requestOne();
    bool stage(QNetworkReply &reply);
    bool checkBody(const QByteArray &body, const QFileInfo &staging);
    bool applyOne(const QString &path);
    bool moveAside(const QString &path, const QFileInfo &target);
    bool fail(const QFileInfo &file, const QString &message);

    std::atomic<bool> m_success{false};
    QString m_errormsg;
    QString m_url;
    QDir m_downloadDir;
    QDir m_appDir;
    QList<tagDownloadFileInfo> m_files;
    int m_current = 0;
    QNetworkAccessManager m_manager;
};

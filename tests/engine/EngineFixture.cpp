// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"

#include <QChildEvent>
#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTest>

#include <algorithm>

tagDownloadFileInfo RecordOf(const QString &path, const QByteArray &content)
{
    tagDownloadFileInfo record;
    record.path = path;
    record.sizeHigh = static_cast<quint32>(content.size());
    record.md5 = Md5Hash(content);
    return record;
}

FileMap ReadTree(const QDir &folder)
{
    FileMap files;
    QDirIterator entries(folder.absolutePath(), QDir::Files | QDir::Hidden | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        files.insert(folder.relativeFilePath(path), ReadFile(path));
    }
    return files;
}

QString RequestedPath(const QByteArray &request)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(request.split(' ').value(1)));
}

ScriptedServer::Handler ServeFiles(const FileMap &files)
{
    return [files](ScriptedConnection &connection, const QByteArray &request) {
        const QString path = RequestedPath(request).mid(1);
        connection.send(files.contains(path)
                            ? ScriptedServer::answer("200 OK", files.value(path))
                            : ScriptedServer::answer("404 Not Found", "no such file"));
    };
}

UpdateFolders::UpdateFolders()
    : staging(temporary.filePath(QStringLiteral("staging"))),
      install(temporary.filePath(QStringLiteral("install")))
{
    if (!QDir().mkpath(staging.path()) || !QDir().mkpath(install.path())) {
        qFatal("The test's own folders cannot be made.");
    }
}

void UpdateFolders::letAnyoneWrite() const
{
    for (const QString &folder : {temporary.path(), staging.path(), install.path()}) {
        if (!QFile::setPermissions(folder, QFile::Permissions(0x7077))) {
            qFatal("The test's own folders cannot be opened.");
        }
    }
}

bool RunToEnd(CDownloadThread &worker)
{
    if (!worker.errormsg().isEmpty()) {
        return true;
    }
    worker.start();
    const bool ended = QTest::qWaitFor([&worker] { return worker.isFinished(); }, 10000);
    worker.quit();
    worker.wait();
    return ended;
}

WorkerRun::WorkerRun(const QString &url, const UpdateFolders &folders,
                     const QList<tagDownloadFileInfo> &files)
    : worker(url, folders.staging, folders.install, files),
      started(&worker, &CDownloadThread::downloadStarted),
      progress(&worker, &CDownloadThread::downloadProgress),
      failed(&worker, &CDownloadThread::downloadFail), ended(RunToEnd(worker))
{
}

ReplyWatch::ReplyWatch()
{
    QCoreApplication::instance()->installEventFilter(this);
}

ReplyWatch::~ReplyWatch()
{
    QCoreApplication::instance()->removeEventFilter(this);
}

int ReplyWatch::alive() const
{
    // What a child is can be asked only after its construction, so it is asked here.
    return static_cast<int>(
        std::count_if(m_children.cbegin(), m_children.cend(), [](const QPointer<QObject> &child) {
            return qobject_cast<QNetworkReply *>(child) != nullptr;
        }));
}

bool ReplyWatch::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ChildAdded && qobject_cast<QNetworkAccessManager *>(watched)) {
        m_children.append(static_cast<QChildEvent *>(event)->child());
    }
    if (event->type() == QEvent::DeferredDelete && qobject_cast<QNetworkReply *>(watched)) {
        ++m_released;
    }
    return false;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestFiles.h"

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QMap>
#include <QPointer>
#include <QSignalSpy>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A file of an update, by path and content.
using FileMap = QMap<QString, QByteArray>;

/// Returns the record of a file as the worker wants it: size halves swapped.
tagDownloadFileInfo RecordOf(const QString &path, const QByteArray &content);

/// Returns every file below a folder with its content, hidden ones too. Links are not followed.
FileMap ReadTree(const QDir &folder);

/// Serves these files, and answers 404 for everything else.
ScriptedServer::Handler ServeFiles(const FileMap &files);

/// Returns the path of a request, percent-decoded.
QString RequestedPath(const QByteArray &request);

/// A staging folder and an installation, both empty at first.
struct UpdateFolders {
    UpdateFolders();

    /// Opens both folders to an ordinary user (OrdinaryUser).
    void letAnyoneWrite() const;
    QString stagingPath(const QString &path) const { return staging.absoluteFilePath(path); }
    QString installPath(const QString &path) const { return install.absoluteFilePath(path); }

    QTemporaryDir temporary;
    QDir staging;
    QDir install;
};

/// Starts the thread of a worker that has not ended yet and waits until it has finished. False
/// after ten seconds.
bool RunToEnd(CDownloadThread &worker);

/// A worker run to its end, with everything it said.
class WorkerRun {
public:
    WorkerRun(const QString &url, const UpdateFolders &folders,
              const QList<tagDownloadFileInfo> &files);

    CDownloadThread worker;
    QSignalSpy started;
    QSignalSpy progress;
    QSignalSpy failed;
    bool ended;
};

/// Watches every network reply that is made while it lives.
class ReplyWatch : public QObject {
    Q_OBJECT

public:
    ReplyWatch();
    ~ReplyWatch() override;
    Q_DISABLE_COPY(ReplyWatch)

    /// How many replies exist now.
    int alive() const;
    /// How many replies were released with deleteLater() and are gone.
    int released() const { return m_released; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QList<QPointer<QObject>> m_children;
    int m_released = 0;
};

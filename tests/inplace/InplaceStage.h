// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/InplaceUpdate.h"
#include "tests/inplace/InplaceFixture.h"

#include <functional>
#include <memory>

class CUpdateProgress;

/// An installation of an older release, and a server that publishes a newer one. In the newer one
/// "same" is unchanged, "d/changed" and "z" are changed, "new/deep/added" is added; "dropped" is no
/// longer listed.
class InplaceStage {
public:
    InplaceStage();

    static FileMap oldRelease();
    static FileMap newRelease();
    /// The installation as an update to the new release leaves it.
    static FileMap updated();

    /// Publishes other files, or answers through another handler.
    void publish(const FileMap &files);
    void serve(const ScriptedServer::Handler &handler);
    QString url() const { return m_server->url(QString()); }
    /// The paths asked for so far, without the release's folder.
    QStringList requested() const;

    UpdateOptions options(bool console = true) const;
    /// Runs an update. Under the dialog, \a meanwhile is called again and again with it.
    Outcome update(bool console = true,
                   const std::function<void(CUpdateProgress &)> &meanwhile = nullptr);
    /// How often a progress dialog was shown by update().
    int dialogs() const { return m_dialogs; }

    QString stagingPath(const QString &path) const { return folders.stagingPath(path); }
    QString installPath(const QString &path) const { return folders.installPath(path); }
    FileMap installed() const { return ReadTree(folders.install); }
    FileMap staged() const { return ReadTree(folders.staging); }

    UpdateFolders folders;

private:
    std::unique_ptr<ScriptedServer> m_server;
    int m_dialogs = 0;
};

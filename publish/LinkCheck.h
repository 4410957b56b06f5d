// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QSet>
#include <QString>

/// Checks where the links of a release lead. Paths are relative to the release, '/' between
/// components.
class LinkCheck {
public:
    void addFile(const QString &path) { m_files.insert(path); }
    void addFolder(const QString &path) { m_folders.insert(path); }
    void addLink(const QString &path, const QString &target) { m_links.insert(path, target); }

    /// Returns why \a link must not be published, or empty text when it leads to a file or folder
    /// of the release without leaving the release on the way.
    QString reason(const QString &link) const;

private:
    QSet<QString> m_files;
    QSet<QString> m_folders;
    QHash<QString, QString> m_links;
};

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QDir>
#include <QMap>
#include <QString>
#include <QStringList>

/// The pictures of an earlier run, with which those of this run are compared.
class FormerPictures {
public:
    /// Reads all pictures in \a folder, which may be the one that the new pictures go into.
    explicit FormerPictures(const QDir &folder);

    bool isEmpty() const { return m_files.isEmpty(); }

    /// What is different in \a folder now, one line a picture: changed with the share of its
    /// pixels, new, or gone.
    QStringList differences(const QDir &folder) const;

private:
    QMap<QString, QByteArray> m_files;
};

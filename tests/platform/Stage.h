// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// What a finished program left behind.
struct RunResult {
    int exitCode = -1; ///< 128 + N when signal N ended it, -1 when it ran out of time
    QByteArray out;
    QByteArray err;
};

/// A temporary folder with all that a driver program sees: the folder "home" for HOME, the working
/// directory "cwd", and the bundle "Sample.app" with a copy of the driver in it.
class Stage {
public:
    /// \a driver  path of the driver program.
    /// \a place   where its copy goes, relative to the stage.
    explicit Stage(const QString &driver,
                   const QString &place = QStringLiteral("Sample.app/Contents/MacOS/host"));

    /// Returns \a text with "{stage}" replaced by the stage's absolute path.
    QString fill(QString text) const;

    /// Returns the absolute path of \a name, with "{stage}" filled in; it may lie elsewhere.
    QString path(const QString &name) const;

    void makeFolder(const QString &name) const;
    void makeFile(const QString &name, const QByteArray &content = "taken") const;
    QByteArray fileContent(const QString &name) const;

    /// Writes the bundle's property list.
    void writeInfo(const QByteArray &content) const;

    /// Runs the copied driver; "{stage}" in \a commands is filled in.
    RunResult run(const QStringList &commands);

    QProcessEnvironment environment; ///< what the driver gets; HOME is the folder "home"

private:
    QTemporaryDir m_folder;
    QString m_driver;
};

/// Returns an XML property list with \a items, which are XML already, as its dictionary.
QByteArray InfoPlist(const QByteArray &items);

/// Returns an XML property list with the given texts, each left out when null.
QByteArray InfoPlist(const QString &identifier, const QString &version);

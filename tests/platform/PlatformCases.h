// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>

/// One run of ApplicationHomePath(). "{stage}" stands for the absolute path of the temporary
/// folder in which all happens, and in which "home" is HOME and "cwd" the working directory.
struct HomeCase {
    const char *rule = nullptr;
    QString identifier = QStringLiteral("a.b.c"); ///< null: the bundle has none
    QString home = QStringLiteral("{stage}/home");
    QStringList folders; ///< made before the run
    QStringList files;   ///< plain files written before the run
    QStringList locked;  ///< made read-only before the run
    QStringList commands{QStringLiteral("home")};
    QString out;        ///< expected standard output
    QString log;        ///< expected lines about the data directory
    QStringList made;   ///< folders that are there after the run
    QStringList absent; ///< names that are not
};
Q_DECLARE_METATYPE(HomeCase)

struct VersionCase {
    const char *rule;
    QString text; ///< null: the bundle has none
    int number;
};

/// Returns the rules of the data directory.
QList<HomeCase> HomeCases();

/// Returns the rules of the version encoding.
QList<VersionCase> VersionCases();

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QCommandLineParser;

/// \file
/// The options of inplace_update: their names, and what the help says about them.

inline const QString BaseUrlOption = QStringLiteral("base-url");
inline const QString InstallOption = QStringLiteral("install");
inline const QString StagingOption = QStringLiteral("staging");
inline const QString KeyOption = QStringLiteral("public-key");
inline const QString ApplicationOption = QStringLiteral("application");
inline const QString OlderOption = QStringLiteral("allow-older");
inline const QString CheckOption = QStringLiteral("check");
inline const QString FetchOption = QStringLiteral("fetch-only");
inline const QString ApplyOption = QStringLiteral("apply-only");
inline const QString RepairOption = QStringLiteral("repair");
inline const QString UndoOption = QStringLiteral("undo");
inline const QString NoBackupOption = QStringLiteral("no-backup");
inline const QString ManifestOption = QStringLiteral("manifest");
inline const QString StallOption = QStringLiteral("stall");
inline const QString AskOption = QStringLiteral("ask");
inline const QString StartOption = QStringLiteral("start");
inline const QString ConsoleOption = QStringLiteral("console");
inline const QString VersionOption = QStringLiteral("version");
inline const QString HelpOption = QStringLiteral("help");

/// Tells the \a parser of all options and of the program. Needs no application object.
void AddUpdateOptions(QCommandLineParser &parser);

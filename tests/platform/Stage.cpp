// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Stage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

Stage::Stage(const QString &driver, const QString &place)
    : environment(QProcessEnvironment::systemEnvironment()), m_driver(path(place))
{
    makeFolder(QStringLiteral("home"));
    makeFolder(QStringLiteral("cwd"));
    makeFolder(QFileInfo(m_driver).path());
    if (!QFile::copy(driver, m_driver)) {
        qFatal("%s cannot be copied", qPrintable(driver));
    }
    environment.insert(QStringLiteral("HOME"), path(QStringLiteral("home")));
}

QString Stage::fill(QString text) const
{
    return text.replace(QStringLiteral("{stage}"), m_folder.path());
}

QString Stage::path(const QString &name) const
{
    return QDir(m_folder.path()).absoluteFilePath(fill(name));
}

void Stage::makeFolder(const QString &name) const
{
    if (!QDir().mkpath(path(name))) {
        qFatal("folder %s cannot be made", qPrintable(name));
    }
}

void Stage::makeFile(const QString &name, const QByteArray &content) const
{
    makeFolder(QFileInfo(path(name)).path());
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("file %s cannot be written", qPrintable(name));
    }
}

QByteArray Stage::fileContent(const QString &name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Stage::writeInfo(const QByteArray &content) const
{
    makeFile(QStringLiteral("Sample.app/Contents/Info.plist"), content);
}

RunResult Stage::run(const QStringList &commands)
{
    QStringList arguments;
    for (const QString &command : commands) {
        arguments.append(fill(command));
    }
    QProcessEnvironment seen = environment;
    if (seen.contains(QStringLiteral("HOME"))) { // which macOS itself does not ask
        seen.insert(QStringLiteral("CFFIXED_USER_HOME"), seen.value(QStringLiteral("HOME")));
    }
    QProcess process;
    process.setProcessEnvironment(seen);
    process.setWorkingDirectory(path(QStringLiteral("cwd")));
    process.start(m_driver, arguments);

    RunResult result;
    if (process.waitForFinished(20000)) {
        const bool crashed = process.exitStatus() == QProcess::CrashExit;
        result.exitCode = (crashed ? 128 : 0) + process.exitCode();
    } else {
        process.kill();
        (void)process.waitForFinished();
    }
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

QByteArray InfoPlist(const QByteArray &items)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?>)"
           "\n"
           R"(<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" )"
           R"("http://www.apple.com/DTDs/PropertyList-1.0.dtd">)"
           "\n<plist version=\"1.0\">\n<dict>\n"
           "<key>CFBundleName</key><string>Sample</string>\n" +
           items + "</dict>\n</plist>\n";
}

QByteArray InfoPlist(const QString &identifier, const QString &version)
{
    QByteArray items;
    const auto add = [&items](const QByteArray &key, const QString &text) {
        if (!text.isNull()) {
            items +=
                "<key>" + key + "</key><string>" + text.toHtmlEscaped().toUtf8() + "</string>\n";
        }
    };
    add("CFBundleIdentifier", identifier);
    add("CFBundleShortVersionString", version);
    return InfoPlist(items);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/HostBundle.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace {

const QString Identifier = QStringLiteral("com.example.kestrel");

} // namespace

HostBundle::HostBundle(const QString &updater, const QString &folder) : m_folder(folder)
{
    const QDir root(m_root.path());
    if (!root.mkpath(m_folder)) {
        qFatal("The updater's folder cannot be made.");
    }
    for (const char *name : {"home", "run", "work", "bin", "records"}) {
        if (!root.mkpath(QLatin1String(name))) {
            qFatal("The bundle's folder %s cannot be made.", name);
        }
    }
    if (!QFile::setPermissions(path(QStringLiteral("run")),
                               QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner) ||
        !QFile::copy(updater, updaterPath())) {
        qFatal("The updater cannot be installed into the bundle.");
    }
    setVersion(QStringLiteral("3.0.0"));
    addHost(QStringLiteral("Host.exe"));
    writeRecorder(path(QStringLiteral("bin/xdg-open")), QStringLiteral("browser"));
}

QString HostBundle::macOsDir() const
{
    return path(m_folder);
}

QString HostBundle::updaterPath() const
{
    return macOsDir() + QStringLiteral("/updater");
}

QString HostBundle::home() const
{
    return path(QStringLiteral("home"));
}

QString HostBundle::dataDir() const
{
    return home() + QStringLiteral("/.") + Identifier;
}

QString HostBundle::path(const QString &relative) const
{
    return m_root.path() + QLatin1Char('/') + relative;
}

void HostBundle::setVersion(const QString &version) const
{
    const QString plist = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                         "<plist version=\"1.0\"><dict>"
                                         "<key>CFBundleIdentifier</key><string>%1</string>"
                                         "<key>CFBundleShortVersionString</key><string>%2</string>"
                                         "</dict></plist>\n");
    writeInfoPlist(plist.arg(Identifier, version).toUtf8());
}

void HostBundle::writeInfoPlist(const QByteArray &content) const
{
    const bool bundled = m_folder.endsWith(QLatin1String("Contents/MacOS"));
    WriteFile(QDir(macOsDir()).filePath(QLatin1String(bundled ? "../Info.plist" : "Info.plist")),
              content);
}

void HostBundle::writeConfig(const QByteArray &content) const
{
    WriteFile(macOsDir() + QStringLiteral("/system.cfg"), content);
}

void HostBundle::addHost(const QString &name) const
{
    writeRecorder(macOsDir() + QLatin1Char('/') + name, QStringLiteral("host"));
}

std::unique_ptr<QProcess> HostBundle::start(const QStringList &arguments,
                                            const QProcessEnvironment &environment,
                                            const QStringList &wrapper) const
{
    auto session = std::make_unique<ChildProcess>();
    prepare(*session, environment);
    QStringList command = wrapper + QStringList(updaterPath()) + arguments;
    const QString program = command.takeFirst();
    session->start(program, command);
    return session;
}

void HostBundle::prepare(QProcess &session, const QProcessEnvironment &environment) const
{
    session.setProcessEnvironment(environment);
    session.setWorkingDirectory(path(QStringLiteral("work")));
    session.setStandardErrorFile(path(QStringLiteral("records/stderr")));
}

QProcessEnvironment HostBundle::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home());
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), path(QStringLiteral("run")));
    environment.insert(QStringLiteral("PATH"), path(QStringLiteral("bin")) + QLatin1Char(':') +
                                                   environment.value(QStringLiteral("PATH")));
    return environment;
}

QStringList HostBundle::hostStarts() const
{
    return recorded(QStringLiteral("host"));
}

QStringList HostBundle::hostFolders() const
{
    return recorded(QStringLiteral("host.folder"));
}

QString HostBundle::properHostStart(const QString &name) const
{
    return QStringLiteral("%1[%2][no_check]").arg(name, updaterPath());
}

QStringList HostBundle::browserAddresses() const
{
    QStringList addresses;
    const QStringList starts = recorded(QStringLiteral("browser"));
    for (const QString &start : starts) {
        addresses.append(start.section(QLatin1Char('['), 1).chopped(1));
    }
    return addresses;
}

QStringList HostBundle::log() const
{
    static const QRegularExpression pattern(
        QStringLiteral("^\\[[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                       "([DIWCF])\\] unknown:0 - (.*)$"),
        QRegularExpression::DotMatchesEverythingOption);
    QStringList messages;
    const QDir folder(dataDir() + QStringLiteral("/Log"));
    const QStringList names = folder.entryList({QStringLiteral("*.log")}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        const QByteArray content = ReadFile(folder.absoluteFilePath(name));
        // By length: a message may contain a NUL.
        QStringList lines =
            QString::fromUtf8(content.constData(), content.size()).split(QLatin1Char('\n'));
        lines.removeLast(); // empty behind the last line end
        for (const QString &line : qAsConst(lines)) {
            const QRegularExpressionMatch match = pattern.match(line);
            messages.append(match.hasMatch()
                                ? match.captured(1) + QLatin1Char(' ') + match.captured(2)
                                : QLatin1Char('?') + line);
        }
    }
    return messages;
}

void HostBundle::forget() const
{
    for (const char *record : {"records/host", "records/host.folder", "records/browser"}) {
        (void)QFile::remove(path(QLatin1String(record))); // may never have been written
    }
    (void)QDir(dataDir() + QStringLiteral("/Log")).removeRecursively(); // may be missing
}

void HostBundle::writeRecorder(const QString &path, const QString &record) const
{
    const QString script = QStringLiteral("#!/bin/sh\n"
                                          "line=$(basename \"$0\")\n"
                                          "for word in \"$@\"; do line=\"$line[$word]\"; done\n"
                                          "pwd -P >> '%1.folder'\n"
                                          "printf '%s\\n' \"$line\" >> '%1'\n");
    // The one-argument form of arg() leaves the %s of printf alone.
    WriteFile(path, QString(script).arg(this->path(QStringLiteral("records/") + record)).toUtf8());
    (void)QFile::setPermissions(path, QFile::permissions(path) | QFile::Permissions(0x1111));
}

QStringList HostBundle::recorded(const QString &record) const
{
    QStringList lines = QString::fromUtf8(ReadFile(path(QStringLiteral("records/") + record)))
                            .split(QLatin1Char('\n'));
    lines.removeLast(); // empty behind the last line end
    return lines;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/publish/PublishTool.h"

#include "core/Func.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>

#include <unistd.h>

ToolRun RunPublish(const QStringList &arguments, const QStringList &wrapper, int seconds)
{
    const QStringList command = wrapper + QStringList{PublishProgram()} + arguments;
    QProcess process;
    process.start(command.constFirst(), command.mid(1));
    ToolRun run;
    if (process.waitForFinished(seconds * 1000) && process.exitStatus() == QProcess::NormalExit) {
        run.exitCode = process.exitCode();
    }
    run.output = process.readAllStandardOutput();
    run.errors = process.readAllStandardError();
    return run;
}

QString PublishProgram()
{
    return QStringLiteral(PUBLISH_UPDATE_PROGRAM);
}

QByteArray FileLines(const QByteArray &path, const QByteArray &content, const QByteArray &mode)
{
    const QByteArray sha256 = QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
    return Md5Hash(content) + '\t' + QByteArray::number(content.size(), 16) + '\t' + path +
           "\n@file\t" + sha256 + '\t' + mode + '\t' + path + '\n';
}

QByteArray HeadLines()
{
    return "@release\t3100025\t3.10.25\t3.10.25\n@minimum\t3000000\n"
           "@page\thttps://www.example.com/download\n";
}

QStringList PublishArguments(const QString &releaseDir, const QString &outputDir)
{
    return {"--version", "3.10.25",        "--min-version",
            "3.0.0",     "--download-url", "https://www.example.com/download",
            releaseDir,  outputDir};
}

QStringList WithoutRootsRights()
{
    if (::geteuid() != 0) {
        return {};
    }
    return {"setpriv", "--bounding-set=-dac_override,-dac_read_search"};
}

QString Quoted(const QString &path)
{
    return QLatin1Char('"') + path + QLatin1Char('"');
}

QMap<QString, QByteArray> FilesBelow(const QString &folder)
{
    QMap<QString, QByteArray> tree;
    QDirIterator at(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (at.hasNext()) {
        const QString path = QDir(folder).relativeFilePath(at.next());
        QFile file(at.filePath());
        if (at.fileInfo().isDir()) {
            tree.insert(path, "/");
        } else if (file.open(QIODevice::ReadOnly)) {
            tree.insert(path, file.readAll());
        }
    }
    return tree;
}

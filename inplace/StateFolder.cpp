// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/StateFolder.h"

#include "app/FileNames.h"
#include "inplace/TreeRemove.h"
#include "release/DurableFile.h"
#include "release/ReleaseSignature.h"
#include "release/SystemCalls.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>

namespace {

constexpr auto HighestName = "highest";
constexpr auto PendingName = "pending";
constexpr auto PreviousSignatureName = "previous.minisig";
constexpr qint64 SmallSize = 4096;
constexpr qint64 PendingSize = 3 * TooLargeManifest; // it contains two manifests
const QByteArray PendingBeginning("inplace_update pending 1\n");

} // namespace

QString StateFolder::make() const
{
    if (!QDir().mkpath(m_path) || !SyncFolder(QFileInfo(m_path).path())) {
        return QObject::tr("创建目录%1失败").arg(m_path);
    }
    return {};
}

QString StateFolder::write(const QString &path, const QByteArray &content) const
{
    const QString reason = make();
    return reason.isEmpty() ? WriteDurably(path, path + QStringLiteral("#part"), content, 0600)
                            : reason;
}

QString StateFolder::writeReady(const Candidate &candidate) const
{
    removeReady();
    const QString files = readyFolder() + QLatin1Char('/') + candidate.folder + QLatin1Char('/');
    if (!QDir().mkpath(files)) {
        return QObject::tr("创建目录%1失败").arg(files);
    }
    QString reason = write(files + LOCAL_MD5_FILENAME, candidate.content);
    if (reason.isEmpty() && !candidate.signature.isEmpty()) {
        reason = write(files + SIGNATURE_FILENAME, candidate.signature);
    }
    // Written last: with a description, the folder is complete.
    if (reason.isEmpty()) {
        reason = write(readyFolder() + QLatin1Char('/') + UPDATE_DESCRIBE_FILENAME,
                       candidate.description);
    }
    return reason;
}

void StateFolder::removeReady() const
{
    const QString folder = readyFolder();
    (void)QFile::remove(folder + QLatin1Char('/') + UPDATE_DESCRIBE_FILENAME);
    (void)RemoveTree(QFile::encodeName(folder)); // leftovers are overwritten
}

std::optional<HighestNumber> StateFolder::highest() const
{
    const QList<QByteArray> words =
        ReadSmall(inside(HighestName), SmallSize).simplified().split(' ');
    bool isNumber = false;
    const int number = words.constFirst().toInt(&isNumber);
    if (!isNumber || words.size() != 2) {
        return std::nullopt;
    }
    return HighestNumber{number, words.constLast()};
}

QString StateFolder::writeHighest(const HighestNumber &highest) const
{
    return write(inside(HighestName),
                 QByteArray::number(highest.number) + ' ' + highest.sha256 + '\n');
}

std::optional<PendingExchange> StateFolder::pending() const
{
    const QByteArray content = ReadSmall(inside(PendingName), PendingSize);
    if (!content.startsWith(PendingBeginning)) {
        return std::nullopt;
    }
    QDataStream stream(content.mid(PendingBeginning.size()));
    stream.setVersion(QDataStream::Qt_5_12);
    PendingExchange pending;
    quint64 node = 0;
    quint64 formerNode = 0;
    stream >> node >> formerNode >> pending.keepPrevious >> pending.manifest >> pending.signature >>
        pending.former >> pending.formerSignature;
    if (stream.status() != QDataStream::Ok) {
        return std::nullopt;
    }
    pending.node = static_cast<ino_t>(node);
    pending.formerNode = static_cast<ino_t>(formerNode);
    return pending;
}

QString StateFolder::writePending(const PendingExchange &pending) const
{
    QByteArray content;
    QDataStream stream(&content, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_12);
    stream << static_cast<quint64>(pending.node) << static_cast<quint64>(pending.formerNode)
           << pending.keepPrevious << pending.manifest << pending.signature << pending.former
           << pending.formerSignature;
    return write(inside(PendingName), PendingBeginning + content);
}

QString StateFolder::removePending() const
{
    const QString path = inside(PendingName);
    if (!QFileInfo::exists(path) || (QFile::remove(path) && SyncFolder(m_path))) {
        return {};
    }
    return QObject::tr("删除文件%1失败").arg(path);
}

QByteArray StateFolder::previousManifest() const
{
    return ReadSmall(previousPath(), TooLargeManifest);
}

QByteArray StateFolder::previousSignature() const
{
    return ReadSmall(inside(PreviousSignatureName), TooLargeSignature);
}

QString StateFolder::writePrevious(const QByteArray &manifest, const QByteArray &signature) const
{
    const QString reason = write(previousPath(), manifest);
    return reason.isEmpty() ? write(inside(PreviousSignatureName), signature) : reason;
}

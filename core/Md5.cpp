// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <QCryptographicHash>
#include <QFile>

#include <algorithm>
#include <cctype>

QByteArray Md5Text(const QByteArray &digest)
{
    // Little-endian words on purpose: published manifests carry this form, not the usual one.
    QByteArray words = digest;
    for (char *word = words.begin(); word != words.end(); word += 4) {
        std::reverse(word, word + 4);
    }
    return words.toHex();
}

QByteArray Md5Hash(QByteArray data)
{
    return Md5Text(QCryptographicHash::hash(data, QCryptographicHash::Md5));
}

bool CheckFileMd5(QString path, QByteArray md5)
{
    QFile file(path);
    // Read whole in one call; a buffer would only slow it down.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return false;
    }
    return Md5Hash(file.readAll()) == md5;
}

QMap<QString, tagDownloadFileInfo> CheckMd5(QMap<QString, tagDownloadFileInfo> update,
                                            QString localManifest, QDir root)
{
    QMap<QString, tagDownloadFileInfo> local;
    QFile manifest(localManifest);
    if (manifest.open(QIODevice::ReadOnly)) {
        local = ParseMd5File(manifest.readAll());
        manifest.close();
    }

    QMap<QString, tagDownloadFileInfo> result;
    // The local manifest mostly lists the same files: the entry after the last one is tried first.
    auto known = local.constBegin();
    for (const tagDownloadFileInfo &record : qAsConst(update)) {
        if (known == local.constEnd() || known.key() != record.path) {
            known = local.constFind(record.path);
        }
        const bool listed = known != local.constEnd();
        const bool upToDate = listed ? known->md5 == record.md5
                                     : CheckFileMd5(root.absoluteFilePath(record.path), record.md5);
        if (!upToDate) {
            result.insert(result.constEnd(), record.path, record);
        }
        if (listed) {
            ++known;
        }
    }
    return result;
}

char *strupr(char *text)
{
    for (char *at = text; at && *at; ++at) {
        *at = static_cast<char>(std::toupper(static_cast<unsigned char>(*at)));
    }
    return text;
}

char *strlwr(char *text)
{
    for (char *at = text; at && *at; ++at) {
        *at = static_cast<char>(std::tolower(static_cast<unsigned char>(*at)));
    }
    return text;
}

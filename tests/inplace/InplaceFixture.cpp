// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceFixture.h"

#include "app/FileNames.h"

QByteArray ManifestOf(const FileMap &files)
{
    QByteArray manifest;
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        manifest += Md5Hash(file.value()) + '\t' + QByteArray::number(file.value().size(), 16) +
                    '\t' + file.key().toUtf8() + '\n';
    }
    return manifest;
}

FileMap Published(const FileMap &files)
{
    FileMap served{{UPDATE_DESCRIBE_FILENAME, R"({"Folder":"release"})"},
                   {QStringLiteral("release/") + LOCAL_MD5_FILENAME, ManifestOf(files)}};
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        served.insert(QStringLiteral("release/") + file.key(), file.value());
    }
    return served;
}

Replacement ReplacementOf(const QString &path, const QByteArray &before, const QByteArray &content)
{
    Replacement replacement;
    replacement.file.path = path;
    replacement.file.sizeLow = static_cast<quint32>(content.size());
    replacement.file.md5 = Md5Hash(content);
    if (!before.isNull()) {
        replacement.before = Replacement::Before::File;
        replacement.oldMd5 = Md5Hash(before);
    }
    return replacement;
}

QString LostFile(const FileMap &before, const FileMap &release, const QDir &install)
{
    for (auto file = before.cbegin(); file != before.cend(); ++file) {
        const QString path = install.absoluteFilePath(file.key());
        const QByteArray there = ReadFile(path);
        if (there != file.value() && (there.isNull() || there != release.value(file.key())) &&
            ReadFile(path + QStringLiteral(".old")) != file.value()) {
            return file.key();
        }
    }
    return {};
}

FileMap Updated(const FileMap &before, const FileMap &release)
{
    FileMap files = before;
    for (auto file = release.cbegin(); file != release.cend(); ++file) {
        if (before.contains(file.key()) && before.value(file.key()) != file.value()) {
            files.insert(file.key() + QStringLiteral(".old"), before.value(file.key()));
        }
        files.insert(file.key(), file.value());
    }
    files.insert(LOCAL_MD5_FILENAME, ManifestOf(release));
    return files;
}

void LayInstallation(const QDir &folder, const FileMap &files)
{
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        WriteFile(folder.absoluteFilePath(file.key()), file.value());
    }
    WriteFile(folder.absoluteFilePath(LOCAL_MD5_FILENAME), ManifestOf(files));
}

FileMap WithoutKept(const FileMap &tree)
{
    FileMap files;
    for (auto file = tree.cbegin(); file != tree.cend(); ++file) {
        if (!file.key().endsWith(QLatin1String(".old")) && file.key() != LOCAL_MD5_FILENAME) {
            files.insert(file.key(), file.value());
        }
    }
    return files;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleasePaths.h"

#include "app/FileNames.h"
#include "release/ReleaseSignature.h"

#include <QHash>

namespace {

const QChar Separator = QLatin1Char('/');
const QString KeptSuffix = QStringLiteral(".old");

QString UnsafeCharacterReason(QChar character)
{
    switch (character.unicode()) {
    case 0x00:
        return QStringLiteral("it contains a NUL");
    case '\t':
        return QStringLiteral("it contains a TAB, which separates the manifest's fields");
    case '\n':
        return QStringLiteral("it contains a line feed, which ends the manifest's lines");
    case '\r':
        return QStringLiteral("it contains a carriage return, which ends the manifest's lines");
    case '\\':
        return QStringLiteral("it contains a backslash, which the manifest takes for a separator");
    case '#':
    case '?':
    case '%':
        return QStringLiteral("it contains '%1', which has a special meaning in a web address")
            .arg(character);
    default:
        return {};
    }
}

/// Whether the text survives UTF-8 unchanged, which drops a byte order mark at the beginning, and
/// has no undecodable byte of a file name.
bool SurvivesUtf8(const QString &text)
{
    return QString::fromUtf8(text.toUtf8()) == text && !text.contains(QChar::ReplacementCharacter);
}

QString UnsafeNameReason(const QString &name)
{
    if (name.isEmpty()) {
        return QStringLiteral("it has an empty component");
    }
    if (name == QLatin1String(".") || name == QLatin1String("..")) {
        return QStringLiteral("it has a \"%1\" component").arg(name);
    }
    if (name.normalized(QString::NormalizationForm_D).toUtf8().size() > LongestName) {
        return QStringLiteral("it has a name over %1 bytes in its decomposed form")
            .arg(LongestName);
    }
    return {};
}

/// The files and folders of a release by their folded paths.
class Tree {
public:
    /// Adds a file with the folders above it and returns why it cannot be added.
    QString add(const QString &path)
    {
        for (int end = path.indexOf(Separator); end >= 0; end = path.indexOf(Separator, end + 1)) {
            const QString folder = path.left(end);
            const QString key = FoldedPath(folder);
            if (m_files.contains(key)) {
                return QStringLiteral("\"%1\" is both a file and the folder of \"%2\"")
                    .arg(m_files.value(key), path);
            }
            const QString known = *m_folders.insert(key, m_folders.value(key, folder));
            if (known != folder) {
                return sameName(known, folder);
            }
        }
        const QString key = FoldedPath(path);
        if (m_files.contains(key)) {
            return sameName(m_files.value(key), path);
        }
        if (m_folders.contains(key)) {
            return QStringLiteral("\"%1\" is both a file and a folder").arg(path);
        }
        m_files.insert(key, path);
        return {};
    }

    /// Returns which file's ".old" copy would take the name of another.
    QString keptCopyReason() const
    {
        const QString suffix = FoldedPath(KeptSuffix);
        for (auto file = m_files.cbegin(); file != m_files.cend(); ++file) {
            const QString key = file.key() + suffix;
            const QString taken = m_files.value(key, m_folders.value(key));
            if (!taken.isEmpty()) {
                return QStringLiteral("\"%1\" takes the name reserved for the old \"%2\"")
                    .arg(taken, file.value());
            }
        }
        return {};
    }

private:
    static QString sameName(const QString &one, const QString &other)
    {
        if (one == other) {
            return QStringLiteral("\"%1\" is listed twice").arg(one);
        }
        return QStringLiteral(
                   "\"%1\" and \"%2\" differ only in letter case or Unicode normalisation")
            .arg(one, other);
    }

    QHash<QString, QString> m_files;
    QHash<QString, QString> m_folders;
};

} // namespace

QString UnsafePathReason(const QString &path)
{
    if (path.isEmpty()) {
        return QStringLiteral("it is empty");
    }
    if (path.startsWith(Separator)) {
        return QStringLiteral("it is absolute");
    }
    for (const QChar character : path) {
        if (QString reason = UnsafeCharacterReason(character); !reason.isEmpty()) {
            return reason;
        }
    }
    if (!SurvivesUtf8(path)) {
        return QStringLiteral("it does not survive UTF-8 unchanged");
    }
    if (path.normalized(QString::NormalizationForm_D).toUtf8().size() > LongestPath) {
        return QStringLiteral("it has over %1 bytes in its decomposed form").arg(LongestPath);
    }
    const QStringList names = path.split(Separator);
    for (int i = 0; i < names.size(); ++i) {
        const QString &name = names.at(i);
        if (QString reason = UnsafeNameReason(name); !reason.isEmpty()) {
            return reason;
        }
        // The network layer asks for a/.x/b as a//b.
        if (name.size() == 2 && name.startsWith(QLatin1Char('.')) && i + 1 < names.size()) {
            return QStringLiteral(
                "it has a folder named '.' and one character, which web addresses lose");
        }
    }
    return {};
}

QString CollisionReason(const QStringList &paths)
{
    Tree tree;
    for (const QString &path : paths) {
        if (QString reason = TakenNameReason(path); !reason.isEmpty()) {
            return reason;
        }
        if (QString reason = tree.add(path); !reason.isEmpty()) {
            return reason;
        }
    }
    return tree.keptCopyReason();
}

QString FoldedPath(const QString &path)
{
    return path.normalized(QString::NormalizationForm_D)
        .toCaseFolded()
        .normalized(QString::NormalizationForm_D);
}

QString TakenNameReason(const QString &path)
{
    const QString name = FoldedPath(path.section(Separator, 0, 0));
    if (name == FoldedPath(LOCAL_MD5_FILENAME)) {
        return QStringLiteral("\"%1\" takes the manifest's own name").arg(path);
    }
    if (name == FoldedPath(SIGNATURE_FILENAME)) {
        return QStringLiteral("\"%1\" takes the name of the manifest's signature").arg(path);
    }
    return {};
}

QString LinkTargetReason(const QString &target)
{
    if (target.isEmpty()) {
        return QStringLiteral("points to nothing: its target is empty");
    }
    if (target.startsWith(Separator)) {
        return QStringLiteral("points to \"%1\", which is absolute").arg(target);
    }
    if (target.toUtf8().size() > LongestPath) {
        return QStringLiteral("has a target of over %1 bytes").arg(LongestPath);
    }
    for (const QChar character : target) {
        if (const QString reason = UnsafeCharacterReason(character); !reason.isEmpty()) {
            return QStringLiteral("points to \"%1\": %2").arg(target, reason);
        }
    }
    return SurvivesUtf8(target)
               ? QString()
               : QStringLiteral("points to \"%1\", which does not survive UTF-8 unchanged")
                     .arg(target);
}

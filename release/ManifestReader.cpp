// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ManifestReader.h"

#include "release/LinkWalk.h"
#include "release/ManifestHead.h"
#include "release/ReleasePaths.h"

#include <algorithm>

namespace {

constexpr std::size_t Md5Length = 32;
constexpr std::size_t Sha256Length = 64;
constexpr int UsualFolderMode = 0755;
const Bytes NoMeaning = "-"; // fills a field, so that the line does not have three of them

QByteArray Copy(Bytes bytes)
{
    return {bytes.data(), static_cast<int>(bytes.size())};
}

} // namespace

ManifestReader::ManifestReader(Bytes content, ReleaseManifest &manifest)
    : m_rest(content), m_manifest(manifest)
{
}

QString ManifestReader::read()
{
    while (!m_rest.empty()) {
        if (!takeLine()) {
            return lost(QStringLiteral("it has no line end; the manifest is cut off"));
        }
        if (QString reason = readLine(); !reason.isEmpty()) {
            return reason;
        }
    }
    if (m_manifest.files.empty()) {
        return lost(QStringLiteral("the manifest ends and lists no file"));
    }
    if (QString reason = m_tree.namesReason(); !reason.isEmpty()) {
        return reason;
    }
    return LinkWalk(m_tree).reason();
}

QString ManifestReader::readHead()
{
    while (!m_rest.empty() && takeLine() && m_line.substr(0, 1) == "@") {
        const KnownLine *const known = Find(m_fields.front());
        if (known && known->stage == Stage::Paths) {
            break;
        }
        if (QString reason = readExtendedLine(); !reason.isEmpty()) {
            return reason;
        }
    }
    return {};
}

/// Takes the next line and its fields. Returns false when it has no line end.
bool ManifestReader::takeLine()
{
    ++m_number;
    const std::size_t end = m_rest.find('\n');
    m_line = m_rest.substr(0, end);
    m_count = 0;
    for (std::size_t from = 0; from != Bytes::npos; ++m_count) {
        const std::size_t tab = m_line.find('\t', from);
        if (m_count < MostFields) {
            m_fields[m_count] = m_line.substr(from, tab - from);
        }
        from = tab == Bytes::npos ? tab : tab + 1;
    }
    m_rest.remove_prefix(end == Bytes::npos ? m_rest.size() : end + 1);
    return end != Bytes::npos;
}

QString ManifestReader::readLine()
{
    return m_line.substr(0, 1) == "@" ? readExtendedLine() : readFile();
}

QString ManifestReader::readExtendedLine()
{
    if (m_count == 3) {
        return lost(QStringLiteral("it begins with '@' and has three fields, which is a file to "
                                   "older updaters"));
    }
    const Bytes name = m_fields.front();
    const KnownLine *const known = Find(name);
    if (!known) {
        return name.substr(0, 2) != "@!"
                   ? QString()
                   : lost(
                         QStringLiteral("%1 is unknown, and must not be ignored").arg(Shown(name)));
    }
    if (m_count != known->fields) {
        return lost(
            QStringLiteral("%1 has %2 fields instead of %3")
                .arg(Shown(name), QString::number(m_count), QString::number(known->fields)));
    }
    if (known->stage < m_stage) {
        return lost(
            QStringLiteral("%1 comes twice, or after what must follow it").arg(Shown(name)));
    }
    if (known->stage > Stage::Minimum && m_stage <= Stage::Minimum) {
        return lost(QStringLiteral("@minimum must come before it"));
    }
    m_stage = known->stage == Stage::Paths ? Stage::Paths
                                           : static_cast<Stage>(static_cast<int>(known->stage) + 1);
    return (this->*known->read)();
}

const ManifestReader::KnownLine *ManifestReader::Find(Bytes name)
{
    static constexpr std::array<KnownLine, 7> lines{{
        {"@release", 4, Stage::Release, &ManifestReader::readRelease},
        {"@application", 2, Stage::Application, &ManifestReader::readApplication},
        {"@minimum", 2, Stage::Minimum, &ManifestReader::readMinimum},
        {"@page", 2, Stage::Page, &ManifestReader::readPage},
        {"@file", 4, Stage::Paths, &ManifestReader::readLoneFileLine},
        {"@link", 4, Stage::Paths, &ManifestReader::readLink},
        {"@folder", 4, Stage::Paths, &ManifestReader::readFolder},
    }};
    const auto known = std::find_if(lines.begin(), lines.end(),
                                    [name](const KnownLine &line) { return line.name == name; });
    return known == lines.end() ? nullptr : known;
}

QString ManifestReader::readRelease()
{
    m_manifest.isComplete = true;
    return lost(ReadReleaseFields(m_fields[1], m_fields[2], m_fields[3], m_manifest));
}

QString ManifestReader::readApplication()
{
    return lost(ReadApplication(m_fields[1], m_manifest.application));
}

QString ManifestReader::readMinimum()
{
    return lost(ReadNumber(m_fields[1], m_manifest.minVersion));
}

QString ManifestReader::readPage()
{
    return lost(ReadPage(m_fields[1], m_manifest.page));
}

/// Reads a three-field line and the @file line after it.
QString ManifestReader::readFile()
{
    if (m_count != 3) {
        return lost(QStringLiteral("it does not have three fields"));
    }
    if (m_stage <= Stage::Minimum) {
        return lost(QStringLiteral("@minimum must come before it"));
    }
    m_stage = Stage::Paths;
    if (!IsHex(m_fields[0], Md5Length)) {
        return lost(QStringLiteral("its MD5 text is not 32 lower-case hexadecimal digits"));
    }
    m_manifest.files.emplace_back();
    ManifestFile &file = m_manifest.files.back();
    QString reason = ReadSize(m_fields[1], file.size);
    if (reason.isEmpty()) {
        reason = ReadPath(m_fields[2], file.path);
    }
    if (!reason.isEmpty()) {
        return lost(reason);
    }
    file.md5 = Copy(m_fields[0]);
    reason = added(ManifestTree::Kind::File, m_fields[2]);
    return reason.isEmpty() ? readFileLine() : reason;
}

/// Reads the @file line after a three-field line.
QString ManifestReader::readFileLine()
{
    const Bytes path = m_fields[2];
    if (!takeLine()) {
        return lost(QStringLiteral("the manifest is cut off"));
    }
    if (m_fields[0] != "@file" || m_count != 4 || m_fields[3] != path) {
        return lost(QStringLiteral("it is not the @file line of \"%1\" with its four fields")
                        .arg(Shown(path)));
    }
    if (!IsHex(m_fields[1], Sha256Length)) {
        return lost(QStringLiteral("its SHA-256 is not 64 lower-case hexadecimal digits"));
    }
    ManifestFile &file = m_manifest.files.back();
    QString reason = ReadMode(m_fields[2], file.mode);
    if (reason.isEmpty()) {
        reason = FileModeReason(file.mode);
    }
    if (!reason.isEmpty()) {
        return lost(reason);
    }
    file.sha256 = Copy(m_fields[1]);
    return {};
}

QString ManifestReader::readLoneFileLine()
{
    return lost(QStringLiteral("@file does not follow the three fields of its file"));
}

QString ManifestReader::readLink()
{
    ManifestLink link;
    QString reason = ReadText(m_fields[1], link.target);
    if (reason.isEmpty()) {
        reason = ReadPath(m_fields[3], link.path);
    }
    if (!reason.isEmpty()) {
        return lost(reason);
    }
    if (m_fields[2] != NoMeaning) {
        return lost(QStringLiteral("the third field of @link is not \"-\""));
    }
    reason = LinkTargetReason(link.target);
    if (!reason.isEmpty()) {
        return lost(QStringLiteral("link \"%1\" %2").arg(link.path, reason));
    }
    reason = added(ManifestTree::Kind::Link, m_fields[3]);
    m_tree.setTarget(m_fields[1]);
    m_manifest.links.push_back(std::move(link));
    return reason;
}

QString ManifestReader::readFolder()
{
    ManifestFolder folder;
    QString reason = ReadMode(m_fields[1], folder.mode);
    if (reason.isEmpty()) {
        reason = FolderModeReason(folder.mode);
    }
    if (reason.isEmpty()) {
        reason = ReadPath(m_fields[3], folder.path);
    }
    if (!reason.isEmpty()) {
        return lost(reason);
    }
    if (m_fields[2] != NoMeaning) {
        return lost(QStringLiteral("the third field of @folder is not \"-\""));
    }
    reason = added(ManifestTree::Kind::Folder, m_fields[3], folder.mode == UsualFolderMode);
    m_manifest.folders.push_back(std::move(folder));
    return reason;
}

QString ManifestReader::lost(const QString &reason) const
{
    return reason.isEmpty() ? reason : AtLine(m_number, reason);
}

QString ManifestReader::added(ManifestTree::Kind kind, Bytes path, bool isEmpty)
{
    return m_tree.add(kind, path, m_number, isEmpty);
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleaseManifest.h"
#include "tests/fuzz/ManifestOracle.h"
#include "tests/fuzz/PathOracle.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// \file
/// The input is a manifest, or a short form of one, which is more often right. Its first byte says
/// which: 's' short lines to be sorted, 'u' short lines as they stand, anything else a manifest.

namespace {

const std::string Md5(32, 'a');
const std::string Sha256(64, 'b');
const std::string Head = "@release\t3010000\t3.1.0\t3.1.0\n@application\tcom.example.sample\n"
                         "@minimum\t2000000\n@page\thttps://www.example.com/\n";

/// The lines that a short line stands for, behind the path that they are sorted by: "f" and a path
/// for a file, "x", mode and path for one with a mode, "l", target, '>' and path for a link, "d",
/// mode and path for a folder. Any other line is itself.
std::pair<std::string, std::string> Lines(const std::string &text)
{
    const char kind = text.empty() ? '\0' : text[0];
    const std::string rest = text.substr(std::min<std::size_t>(text.size(), 1));
    const std::size_t cut = std::min<std::size_t>(rest.size(), 4);
    const std::string mode = kind == 'f' ? "0644" : rest.substr(0, cut);
    const std::string path = kind == 'f' ? rest : rest.substr(cut);
    const std::size_t arrow = rest.find('>');
    if (kind == 'f' || kind == 'x') {
        return {path,
                Md5 + "\t1\t" + path + "\n@file\t" + Sha256 + '\t' + mode + '\t' + path + '\n'};
    }
    if (kind == 'd') {
        return {path, "@folder\t" + mode + "\t-\t" + path + '\n'};
    }
    if (kind == 'l' && arrow != std::string::npos) {
        const std::string at = rest.substr(arrow + 1);
        return {at, "@link\t" + rest.substr(0, arrow) + "\t-\t" + at + '\n'};
    }
    return {text, text + '\n'};
}

std::string Expanded(const std::string &input)
{
    std::vector<std::pair<std::string, std::string>> blocks;
    std::size_t from = 1;
    while (from < input.size()) {
        const std::size_t end = std::min(input.find('\n', from), input.size());
        blocks.push_back(Lines(input.substr(from, end - from)));
        from = end + 1;
    }
    if (input[0] == 's') {
        std::sort(blocks.begin(), blocks.end());
    }
    std::string content = Head;
    for (const auto &block : blocks) {
        content += block.second;
    }
    return content;
}

/// Requires that what was read is what the rules give, path by path.
void Compare(const ReleaseManifest &manifest, OracleManifest known)
{
    const auto same = [](const QString &text, const std::string &bytes) {
        return text.toUtf8().toStdString() == bytes;
    };
    const auto taken = [&known](const QString &path) {
        const auto entry = known.paths.find(path.toUtf8().toStdString());
        Require(entry != known.paths.end(), "a path that is listed");
        const OracleManifest::Entry fields = entry->second;
        known.paths.erase(entry);
        return fields;
    };
    const auto isMode = [](const std::string &digits, int mode) {
        return std::stoi(digits, nullptr, 8) == mode;
    };
    for (const ManifestFile &file : manifest.files) {
        const OracleManifest::Entry fields = taken(file.path);
        Require(fields.size() == 5, "a file has two lines");
        Require(file.md5.toStdString() == fields[0], "the MD5 text");
        Require(file.size == std::stoull(fields[1], nullptr, 16), "the size");
        Require(file.sha256.toStdString() == fields[3], "the SHA-256");
        Require(isMode(fields[4], file.mode), "the mode of a file");
    }
    for (const ManifestLink &link : manifest.links) {
        const OracleManifest::Entry fields = taken(link.path);
        Require(fields[0] == "@link" && same(link.target, fields[1]), "the target of a link");
    }
    for (const ManifestFolder &folder : manifest.folders) {
        const OracleManifest::Entry fields = taken(folder.path);
        Require(fields[0] == "@folder" && isMode(fields[1], folder.mode), "the mode of a folder");
    }
    Require(known.paths.empty(), "every path");
    const auto head = [&known](const char *name, std::size_t field) {
        const auto found = known.head.find(name);
        return found == known.head.end() ? std::string() : found->second[field];
    };
    Require(std::to_string(manifest.version) == head("@release", 1), "the version");
    Require(same(manifest.folder, head("@release", 2)), "the folder");
    Require(same(manifest.versionString, head("@release", 3)), "the version as a text");
    Require(same(manifest.application, head("@application", 1)), "the application");
    Require(std::to_string(manifest.minVersion) == head("@minimum", 1), "the minimum");
    Require(same(manifest.page, head("@page", 1)), "the page");
}

void CheckComplete(const std::string &content)
{
    ReleaseManifest manifest;
    const QByteArray bytes = QByteArray::fromStdString(content);
    const QString reason = ReadManifest(bytes, manifest);
    OracleManifest known;
    const char *const broken = ReadByRules(content, known);
    if (!reason.isEmpty()) {
        const bool isAscii = std::all_of(content.begin(), content.end(), [](char byte) {
            return static_cast<unsigned char>(byte) < 0x80;
        });
        Require(broken || !isAscii, "what keeps the rules is taken");
        Require(reason.startsWith(QLatin1String("line ")), "the line is named");
        return;
    }
    Require(!broken, broken ? broken : "");
    Compare(manifest, known);
    const QByteArray again = ManifestContent(manifest);
    Require(known.hasUnknownLines || again == bytes, "what is read is written the same");
    ReleaseManifest reread;
    Require(ReadManifest(again, reread).isEmpty(), "what was taken is taken again");
    Require(ManifestContent(reread) == again, "and written the same again");

    QStringList paths;
    for (const ManifestFile &file : manifest.files) {
        paths.append(file.path);
    }
    const char *const unsafe = BrokenPathRule(paths);
    Require(!unsafe, unsafe ? unsafe : "");
    const QMap<QString, tagDownloadFileInfo> records = ParseMd5File(bytes);
    Require(static_cast<std::size_t>(records.size()) == manifest.files.size(),
            "older updaters see the files and nothing else");
    for (const ManifestFile &file : manifest.files) {
        const tagDownloadFileInfo record = records.value(file.path);
        const tagDownloadFileInfo ours = ManifestRecord(file);
        Require(record.path == ours.path && record.sizeHigh == ours.sizeHigh &&
                    record.sizeLow == ours.sizeLow && record.md5 == ours.md5,
                "older updaters see the same files");
    }
}

void CheckOld(const std::string &content)
{
    ReleaseManifest manifest;
    const QByteArray bytes = QByteArray::fromStdString(content);
    if (!ReadManifest(bytes, manifest).isEmpty()) {
        return;
    }
    Require(!manifest.isComplete && manifest.links.empty() && manifest.folders.empty(),
            "an old manifest has files only");
    const QMap<QString, tagDownloadFileInfo> records = ParseMd5File(bytes);
    Require(static_cast<std::size_t>(records.size()) == manifest.files.size(), "as many files");
    for (const ManifestFile &file : manifest.files) {
        Require(records.contains(file.path), "the same paths");
        Require(records.value(file.path).md5 == file.md5, "the same MD5 texts");
    }
    const char *const unsafe = BrokenPathRule(records.keys());
    Require(!unsafe, unsafe ? unsafe : "");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string input(data, data + size);
    const bool isShort = size > 0 && (input[0] == 's' || input[0] == 'u');
    const std::string content = isShort ? Expanded(input) : input;
    if (content.compare(0, 9, "@release\t") == 0 || content.compare(0, 9, "@release\n") == 0) {
        CheckComplete(content);
    } else {
        CheckOld(content);
    }
    return 0;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestTree.h"
#include "release/ReleaseManifest.h"

#include <array>

/// Reads one complete manifest line by line.
class ManifestReader {
public:
    /// \a content  must outlive the reader.
    ManifestReader(Bytes content, ReleaseManifest &manifest);

    /// Returns why the content is refused, naming the line, or empty text.
    QString read();

    /// Reads the lines before the first path. Returns why they are refused, or empty text.
    QString readHead();

private:
    static constexpr std::size_t MostFields = 4;

    /// Which line may come next. Each comes once, in this order; paths come to the end.
    enum class Stage { Release, Application, Minimum, Page, Paths };

    struct KnownLine {
        Bytes name;
        std::size_t fields;
        Stage stage;
        QString (ManifestReader::*read)();
    };

    static const KnownLine *Find(Bytes name);

    bool takeLine();
    QString readLine();
    QString readExtendedLine();
    QString readRelease();
    QString readApplication();
    QString readMinimum();
    QString readPage();
    QString readFile();
    QString readFileLine();
    QString readLoneFileLine();
    QString readLink();
    QString readFolder();
    /// Puts the number of the line in front of a reason; empty text stays empty.
    QString lost(const QString &reason) const;
    QString added(ManifestTree::Kind kind, Bytes path, bool isEmpty = false);

    Bytes m_rest;
    ReleaseManifest &m_manifest;
    ManifestTree m_tree;
    Stage m_stage = Stage::Release;
    int m_number = 0; // of the line at hand
    Bytes m_line;
    std::array<Bytes, MostFields> m_fields;
    std::size_t m_count = 0; // of its fields, including those that m_fields has no room for
};

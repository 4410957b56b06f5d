// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Publish.h"

#include "app/FileNames.h"
#include "publish/BundleVersion.h"
#include "publish/PublishChecks.h"
#include "publish/PublishReport.h"
#include "publish/ReleaseCopy.h"
#include "publish/ReleaseScan.h"
#include "publish/SignWith.h"
#include "publish/Workspace.h"
#include "release/DurableFile.h"
#include "release/Formats.h"

#include <cstdlib>

namespace {

const QString Forced = QStringLiteral(" --force publishes it anyway.");

/// Publishes one release, from scanning its folder to announcing it.
class Publishing {
public:
    Publishing(const PublishOptions &options, Report &report) : m_options(options), m_report(report)
    {
    }

    int run()
    {
        QStringList problems = OptionProblems(m_options);
        if (problems.isEmpty()) {
            problems = lookThrough();
        }
        if (problems.isEmpty() && m_options.strict && !m_report.warnings().isEmpty()) {
            problems = QStringList{QStringLiteral("Warnings are failures with --strict.")};
        }
        if (!problems.isEmpty()) {
            return m_report.refuse(problems);
        }
        const QString reason = m_options.dryRun ? readFiles() : publishFiles();
        if (!reason.isEmpty()) {
            return m_report.refuse({reason});
        }
        DescribeRelease(m_options, m_manifest, m_report);
        return EXIT_SUCCESS;
    }

private:
    /// Checks everything but the contents of files. Returns why the release must not be published;
    /// oddities only cause warnings.
    QStringList lookThrough()
    {
        m_contents = ScanRelease(m_options.releaseDir);
        m_facts = ReadBundleFacts(m_options.releaseDir);
        QStringList problems = m_contents.problems;
        const QString reason = OtherVersionReason(m_facts, m_options.version);
        if (!reason.isEmpty() && !m_options.force) {
            problems.append(reason + Forced);
        }
        if (m_options.dryRun) {
            problems += placeProblems(Workspace(m_options.outputDir));
        }
        warn();
        return problems;
    }

    /// Returns why the release cannot be put beside the existing ones.
    QStringList placeProblems(const Workspace &workspace) const
    {
        QStringList problems{workspace.nameReason(m_options.folder)};
        if (!m_options.force) {
            const QString reason = NotAboveReason(m_options.outputDir, m_options.version);
            problems.append(reason.isEmpty() ? reason : reason + Forced);
        }
        problems.removeAll(QString());
        return problems;
    }

    void warn()
    {
        const int minVersion = NumberOf(m_options.minVersion);
        if (minVersion > NumberOf(m_options.version)) {
            m_report.warn(QStringLiteral("the minimum version is above the version: every host is "
                                         "forced to update."));
        }
        if (m_options.signCommand.isEmpty()) {
            if (!m_options.dryRun && IsAnnouncedSigned(m_options.outputDir)) {
                m_report.warn(QStringLiteral("the announced release is signed and this one is not: "
                                             "users who demand a signature will not accept it."));
            }
            return;
        }
        if (m_options.publicKeys.isEmpty()) {
            m_report.warn(
                QStringLiteral("without --public-key the signature is not checked here."));
        }
        if (application().isEmpty()) {
            m_report.warn(QStringLiteral("without an identifier (--application) the signature is "
                                         "good for every application of the same key."));
        }
    }

    QString application() const
    {
        return m_options.application.isEmpty() ? m_facts.identifier : m_options.application;
    }

    QString readFiles()
    {
        std::vector<ManifestFile> records;
        const QString reason = ReadRelease(m_contents.files, m_options.releaseDir, records);
        return reason.isEmpty() ? makeManifest(std::move(records)) : reason;
    }

    /// Copies and signs the release and makes it visible. Returns why that failed, or empty text.
    QString publishFiles()
    {
        Workspace workspace(m_options.outputDir);
        QString reason = workspace.open();
        std::vector<ManifestFile> records;
        if (reason.isEmpty()) {
            reason = placeProblems(workspace).join(QLatin1Char(' '));
        }
        if (reason.isEmpty()) {
            reason = CopyRelease(m_contents.files, m_options.releaseDir, workspace.releaseDir(),
                                 records);
        }
        if (reason.isEmpty()) {
            reason = makeManifest(std::move(records));
        }
        if (reason.isEmpty()) {
            reason = writeManifest(workspace.releaseDir());
        }
        if (reason.isEmpty() && !m_options.signCommand.isEmpty()) {
            reason = SignRelease(workspace.releaseDir(), m_manifest, m_content,
                                 {m_options.signCommand, m_options.publicKeys, m_report.isJson()});
        }
        if (reason.isEmpty()) {
            reason = workspace.publish(m_options.folder, DescriptionContent(description()));
        }
        return reason;
    }

    /// Makes the manifest from what was read. Returns why there is none, or empty text.
    QString makeManifest(std::vector<ManifestFile> records)
    {
        if (!IsUnchanged(m_contents, ScanRelease(m_options.releaseDir))) {
            return QStringLiteral("\"%1\" was changed while it was read.")
                .arg(m_options.releaseDir);
        }
        m_manifest.isComplete = true;
        m_manifest.version = NumberOf(m_options.version);
        m_manifest.folder = m_options.folder;
        m_manifest.versionString = m_options.versionString;
        m_manifest.application = application();
        m_manifest.minVersion = NumberOf(m_options.minVersion);
        m_manifest.page = m_options.downloadUrl;
        m_manifest.files = std::move(records);
        m_manifest.links = m_contents.links;
        m_manifest.folders = m_contents.folders;
        m_content = ManifestContent(m_manifest);
        // Do not publish what no updater would accept.
        ReleaseManifest read;
        const QString reason = ReadManifest(m_content, read);
        return reason.isEmpty() ? reason
                                : QStringLiteral("The release cannot be published: %1: %2.")
                                      .arg(LOCAL_MD5_FILENAME, reason);
    }

    QString writeManifest(const QString &folder) const
    {
        const QString path = folder + QLatin1Char('/') + LOCAL_MD5_FILENAME;
        const QString reason = WriteDurably(path, path + QStringLiteral("#new"), m_content);
        return reason.isEmpty() ? reason : reason + QLatin1Char('.');
    }

    PublishedDescription description() const
    {
        return {m_manifest.version, m_manifest.versionString, m_manifest.folder,
                m_manifest.minVersion, m_manifest.page};
    }

    const PublishOptions &m_options;
    Report &m_report;
    ReleaseContents m_contents;
    BundleFacts m_facts;
    ReleaseManifest m_manifest;
    QByteArray m_content; ///< of the manifest
};

} // namespace

int Publish(const PublishOptions &options, Report &report)
{
    return Publishing(options, report).run();
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

class BoundedManager;

/// What is wrong with something that is published. A plain value.
struct ReleaseFault {
    enum class Kind {
        None,
        Missing,     ///< it is not there
        Network,     ///< it cannot be fetched or read, or does not come whole
        Description, ///< update.json cannot be used
        Manifest,    ///< the manifest is refused
        Signature,   ///< the signature is missing or not accepted
        Mismatch,    ///< update.json is not about the release that it leads to
    };

    Kind kind = Kind::None;
    QString subject; ///< the name of the file, below the base address
    QString detail;  ///< in English, continues "SUBJECT: ..."

    bool isNone() const { return kind == Kind::None; }
};

/// Where published files are read from. Call on the thread that made it.
class ReleaseSource {
public:
    ReleaseSource() = default;
    virtual ~ReleaseSource() = default;
    Q_DISABLE_COPY(ReleaseSource)

    /// Reads the file \a name, a safe path below the source, whole.
    ///
    /// \a limit    in bytes; a longer file is refused.
    /// \a content  is set only on success.
    virtual ReleaseFault read(const QString &name, qint64 limit, QByteArray &content) = 0;

    /// Whether it is known that the content read last is whole: a server that tells no length may
    /// have broken off unnoticed.
    virtual bool isKnownWhole() const { return true; }
};

/// A web server. Redirects are not followed, and files that come compressed although that was not
/// asked for are refused: an update is fetched so too. Connections are kept for the next file.
class WebSource : public ReleaseSource {
public:
    static constexpr qint32 DescriptionSeconds = 15; // as long as an updater waits
    static constexpr qint32 FileSeconds = 60;

    /// \a baseUrl  what update.json is below, without a separator at the end.
    explicit WebSource(QString baseUrl);
    ~WebSource() override;

    /// How long update.json, and every other file, may take.
    void setSeconds(qint32 description, qint32 file);

    /// Blocks in a local event loop.
    ReleaseFault read(const QString &name, qint64 limit, QByteArray &content) override;
    bool isKnownWhole() const override;

private:
    const QString m_baseUrl;
    const std::unique_ptr<BoundedManager> m_manager;
    qint32 m_descriptionSeconds = DescriptionSeconds;
    qint32 m_fileSeconds = FileSeconds;
};

/// A folder with published files in it.
class FolderSource : public ReleaseSource {
public:
    explicit FolderSource(QString folder);

    ReleaseFault read(const QString &name, qint64 limit, QByteArray &content) override;

private:
    const QString m_folder;
};

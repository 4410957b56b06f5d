// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

class BoundedManager;

/// A fault of something published. A plain value.
struct ReleaseFault {
    enum class Kind {
        None,
        Missing,     ///< the file does not exist
        Network,     ///< the file cannot be fetched or read, or arrives incomplete
        Description, ///< update.json cannot be used
        Manifest,    ///< the manifest is refused
        Signature,   ///< the signature is missing or not accepted
        Mismatch,    ///< update.json names another release than the manifest
    };

    Kind kind = Kind::None;
    QString subject; ///< the name of the file, below the base address
    QString detail;  ///< in English, to follow "SUBJECT: "

    bool isNone() const { return kind == Kind::None; }
};

/// Where published files are read from. For use on the thread that created it.
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

    /// Whether the content read last is known to be whole: if a server gives no length, a break
    /// goes unnoticed.
    virtual bool isKnownWhole() const { return true; }
};

/// A web server. Redirects are not followed, and files that arrive compressed without being asked
/// for are refused, as in an update. Connections are kept for the next file.
class WebSource : public ReleaseSource {
public:
    static constexpr qint32 DescriptionSeconds = 15; // as long as an updater waits
    static constexpr qint32 FileSeconds = 60;

    /// \a baseUrl  the address above update.json, without a separator at the end.
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

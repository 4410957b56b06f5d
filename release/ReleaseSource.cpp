// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleaseSource.h"

#include "app/FileNames.h"
#include "core/Func.h"
#include "release/BoundedManager.h"
#include "release/Descriptor.h"
#include "release/SystemCalls.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace {

using Headers = QMap<QByteArray, QByteArray>;
using Kind = ReleaseFault::Kind;

constexpr qint64 BlockSize = 0x10000;

QString TooLong(qint64 limit)
{
    return QStringLiteral("it is too long: more than %1 bytes").arg(limit);
}

/// Turns the error text of a failed fetch into a fault.
ReleaseFault FetchFault(const QString &name, const QString &error)
{
    const int status = error.section(QStringLiteral(",status="), -1).toInt();
    if (status == 404 || status == 410) {
        return {Kind::Missing, name, QStringLiteral("it is missing (status %1)").arg(status)};
    }
    if (status >= 300 && status < 400 && status != 304) {
        return {
            Kind::Network, name,
            QStringLiteral("it is redirected, which no updater follows (status %1)").arg(status)};
    }
    return {Kind::Network, name, QStringLiteral("it cannot be fetched: %1").arg(error)};
}

/// Returns how a body is compressed, or empty text when it is not.
QByteArray Encoding(const Headers &answer)
{
    for (auto header = answer.cbegin(); header != answer.cend(); ++header) {
        if (header.key().toLower() == "content-encoding" && header->toLower() != "identity") {
            return *header;
        }
    }
    return {};
}

/// Reads to the end, or a little beyond the limit. Returns false on an error, with errno set.
bool ReadAll(int descriptor, qint64 limit, QByteArray &content)
{
    for (;;) {
        const int before = content.size();
        content.resize(before + static_cast<int>(BlockSize));
        const ssize_t length = ::read(descriptor, content.data() + before, BlockSize);
        content.resize(before + static_cast<int>(qMax<ssize_t>(length, 0)));
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0 || content.size() > limit) {
            return length >= 0;
        }
    }
}

} // namespace

WebSource::WebSource(QString baseUrl)
    : m_baseUrl(std::move(baseUrl)), m_manager(std::make_unique<BoundedManager>())
{
}

WebSource::~WebSource() = default;

void WebSource::setSeconds(qint32 description, qint32 file)
{
    m_descriptionSeconds = description;
    m_fileSeconds = file;
}

ReleaseFault WebSource::read(const QString &name, qint64 limit, QByteArray &content)
{
    const qint32 seconds = name == UPDATE_DESCRIBE_FILENAME ? m_descriptionSeconds : m_fileSeconds;
    // The network layer could unpack far more than what arrived.
    const Headers request{{"Accept-Encoding", "identity"}};
    Headers answer;
    QByteArray body;
    QString error;
    m_manager->setLimit(limit);
    const bool isThere = GetFileByUrl(*m_manager, QUrl(m_baseUrl + QLatin1Char('/') + name), body,
                                      error, seconds, request, "GET", {}, &answer);
    const BoundedManager::Body state = m_manager->body();
    if (state == BoundedManager::Body::Pending) {
        return {Kind::Network, name,
                QStringLiteral("it did not arrive within %1 seconds").arg(seconds)};
    }
    if (!isThere) {
        return FetchFault(name, error);
    }
    if (state == BoundedManager::Body::TooLong) {
        return {Kind::Network, name, TooLong(limit)};
    }
    if (state == BoundedManager::Body::BrokenOff) {
        return {Kind::Network, name, QStringLiteral("it arrives incomplete")};
    }
    if (const QByteArray encoding = Encoding(answer); !encoding.isEmpty()) {
        return {Kind::Network, name,
                QStringLiteral("it is sent compressed (%1), although that was not asked for")
                    .arg(QString::fromLatin1(encoding))};
    }
    content = body;
    return {};
}

bool WebSource::isKnownWhole() const
{
    return m_manager->isEndKnown();
}

FolderSource::FolderSource(QString folder) : m_folder(std::move(folder)) {}

ReleaseFault FolderSource::read(const QString &name, qint64 limit, QByteArray &content)
{
    Descriptor file;
    const QString reason = OpenRegularFile(m_folder + QLatin1Char('/') + name, file);
    if (!file.isOpen() && (errno == ENOENT || errno == ENOTDIR)) {
        return {Kind::Missing, name, QStringLiteral("it is missing")};
    }
    if (!reason.isEmpty()) {
        return {Kind::Network, name, QStringLiteral("it cannot be read: %1").arg(reason)};
    }
    QByteArray read;
    if (!ReadAll(file.number(), limit, read)) {
        return {Kind::Network, name, QStringLiteral("it cannot be read: %1").arg(SystemError())};
    }
    if (read.size() > limit) {
        return {Kind::Network, name, TooLong(limit)};
    }
    content = read;
    return {};
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/FileDigests.h"

#include "core/Func.h"
#include "release/Descriptor.h"
#include "release/SystemCalls.h"

#include <openssl/evp.h>

#include <array>
#include <cerrno>
#include <optional>
#include <unistd.h>

namespace {

constexpr std::size_t BlockSize = 0x10000; // small enough to stay in the processor's cache

/// One running digest.
class Digest {
public:
    /// \a algorithm  stays the caller's; null if the system does not have it.
    explicit Digest(const EVP_MD *algorithm)
        : m_context(algorithm ? EVP_MD_CTX_new() : nullptr),
          m_works(m_context && EVP_DigestInit_ex(m_context.get(), algorithm, nullptr) == 1)
    {
    }

    void add(const char *block, std::size_t size)
    {
        m_works = m_works && EVP_DigestUpdate(m_context.get(), block, size) == 1;
    }

    /// Returns the digest, or nothing.
    QByteArray result()
    {
        std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
        unsigned int length = 0;
        m_works = m_works && EVP_DigestFinal_ex(m_context.get(), bytes.data(), &length) == 1;
        return m_works ? QByteArray(reinterpret_cast<const char *>(bytes.data()),
                                    static_cast<int>(length))
                       : QByteArray();
    }

private:
    struct Free {
        void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
    };

    std::unique_ptr<EVP_MD_CTX, Free> m_context;
    bool m_works;
};

// Looked up once in the process: each look-up takes a lock and some microseconds.

const EVP_MD *Sha256()
{
    static const EVP_MD *const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return algorithm;
}

const EVP_MD *Md5()
{
    static const EVP_MD *const algorithm = EVP_MD_fetch(nullptr, "MD5", nullptr);
    return algorithm;
}

} // namespace

struct DigestMaker::Contexts {
    Digest sha256{Sha256()};
    std::optional<Digest> md5; // only if asked for
};

DigestMaker::DigestMaker(DigestKinds kinds) : m_contexts(std::make_unique<Contexts>())
{
    if (kinds == DigestKinds::Sha256AndMd5) {
        m_contexts->md5.emplace(Md5());
    }
}

DigestMaker::~DigestMaker() = default;

void DigestMaker::add(const char *block, std::size_t size)
{
    m_contexts->sha256.add(block, size);
    if (m_contexts->md5) {
        m_contexts->md5->add(block, size);
    }
    m_size += size;
}

QString DigestMaker::finish(FileDigests &digests)
{
    const QByteArray sha256 = m_contexts->sha256.result();
    if (sha256.isEmpty()) {
        return QStringLiteral("this system's cryptographic library has no SHA-256");
    }
    QByteArray md5;
    if (m_contexts->md5) {
        md5 = m_contexts->md5->result();
        if (md5.isEmpty()) {
            return QStringLiteral("this system's cryptographic library has no MD5");
        }
        md5 = Md5Text(md5);
    }
    digests = {m_size, md5, sha256.toHex()};
    return {};
}

QString ReadDigests(int descriptor, DigestKinds kinds, FileDigests &digests)
{
    DigestMaker maker(kinds);
    std::array<char, BlockSize> block; // NOLINT(*-member-init): read() fills it
    for (;;) {
        const ssize_t length = ::read(descriptor, block.data(), block.size());
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length < 0) {
            return SystemError();
        }
        if (length == 0) {
            return maker.finish(digests);
        }
        maker.add(block.data(), static_cast<std::size_t>(length));
    }
}

QString ReadDigests(const QString &path, DigestKinds kinds, FileDigests &digests)
{
    Descriptor file;
    const QString reason = OpenRegularFile(path, file);
    return reason.isEmpty() ? ReadDigests(file.number(), kinds, digests) : reason;
}

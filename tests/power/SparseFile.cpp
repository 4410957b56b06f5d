// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/SparseFile.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t BlockSize = 0x10000;

[[noreturn]] void Give(const QString &path)
{
    qFatal("The disk image %s: %s.", qPrintable(path), qPrintable(qt_error_string(errno)));
}

/// Calls \a use with each block of the file that is not a hole, and its offset.
template <typename Use>
bool ForEachBlock(int file, qint64 size, Use use)
{
    std::array<char, BlockSize> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    qint64 end = 0;
    for (qint64 at = ::lseek(file, 0, SEEK_DATA); at >= 0; at = ::lseek(file, end, SEEK_DATA)) {
        end = ::lseek(file, at, SEEK_HOLE);
        while (at < end) {
            const auto wanted = static_cast<std::size_t>(qMin<qint64>(end - at, BlockSize));
            const ssize_t length = ::pread(file, block.data(), wanted, at);
            if (length <= 0 || !use(at, block.data(), length)) {
                return false;
            }
            at += length;
        }
        if (end >= size) {
            return true;
        }
    }
    return errno == ENXIO; // a hole up to the end
}

} // namespace

SparseFile::SparseFile(const QString &path)
    : m_path(path), m_file(::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC))
{
    if (m_file < 0) {
        Give(path);
    }
}

SparseFile::SparseFile(const QString &path, qint64 size)
    : m_path(path), m_file(::open(QFile::encodeName(path).constData(),
                                  O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600))
{
    if (m_file < 0 || ::ftruncate(m_file, size) != 0) {
        Give(path);
    }
}

SparseFile::~SparseFile()
{
    (void)::close(m_file);
}

void SparseFile::write(qint64 offset, const char *data, qint64 length) const
{
    if (::pwrite(m_file, data, static_cast<std::size_t>(length), offset) != length) {
        Give(m_path);
    }
}

void SparseFile::assign(const SparseFile &other) const
{
    const qint64 size = other.size();
    const auto copy = [this](qint64 at, const char *data, ssize_t length) {
        return ::pwrite(m_file, data, static_cast<std::size_t>(length), at) == length;
    };
    if (::ftruncate(m_file, 0) != 0 || ::ftruncate(m_file, size) != 0 ||
        !ForEachBlock(other.m_file, size, copy)) {
        Give(m_path);
    }
}

void SparseFile::digHoles() const
{
    const auto dig = [this](qint64 at, const char *data, ssize_t length) {
        const bool empty = std::all_of(data, data + length, [](char byte) { return byte == 0; });
        return !empty ||
               ::fallocate(m_file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, at, length) == 0;
    };
    if (!ForEachBlock(m_file, size(), dig)) {
        Give(m_path);
    }
}

qint64 SparseFile::size() const
{
    struct stat status {};
    if (::fstat(m_file, &status) != 0) {
        Give(m_path);
    }
    return status.st_size;
}

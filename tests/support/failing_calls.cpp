// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// A library to preload (LD_PRELOAD): calls that change files below a folder are counted, and
/// chosen ones fail without doing anything. Environment variables configure it, see
/// FailingCalls.cpp; processes that the program starts continue the count.

#include "tests/support/failing_calls.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <string>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

std::string Environment(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

/// The configuration in the environment, read once in a process.
struct Settings {
    Settings()
        : under(Environment("FAILING_CALLS_UNDER")), kinds(Environment("FAILING_CALLS_KINDS")),
          number(std::atol(Environment("FAILING_CALLS_NUMBER").c_str())),
          error(std::atoi(Environment("FAILING_CALLS_ERRNO").c_str())),
          isOnwards(!Environment("FAILING_CALLS_ONWARDS").empty())
    {
        const std::string folder = Environment("FAILING_CALLS_FOLDER");
        const std::string file = folder + "/count";
        const auto descriptor =
            static_cast<int>(::syscall(SYS_openat, AT_FDCWD, file.c_str(), O_RDWR | O_CLOEXEC, 0));
        void *const page =
            ::mmap(nullptr, sizeof(long), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        count = page == MAP_FAILED ? nullptr : static_cast<std::atomic<long> *>(page);
        (void)::syscall(SYS_close, descriptor);
        log = folder + "/log";
    }

    std::string under;
    std::string kinds;
    std::string log;
    long number;
    int error;
    bool isOnwards;
    std::atomic<long> *count;
};

const Settings &Told()
{
    static const Settings settings;
    return settings;
}

bool IsUnder(const std::string &path)
{
    const std::string &under = Told().under;
    return !under.empty() && path.compare(0, under.size(), under) == 0 &&
           (path.size() == under.size() || path[under.size()] == '/');
}

/// Whether calls of this kind are counted; \a isUsual: also when no kinds were chosen.
bool IsChosen(const char *kind, bool isUsual)
{
    const std::string &kinds = Told().kinds;
    return kinds.empty()
               ? isUsual
               : ("," + kinds + ",").find("," + std::string(kind) + ",") != std::string::npos;
}

/// The functions of the program that led to a call, the innermost first, as places in its code.
/// Recursion is told once.
std::string Way()
{
    constexpr int Deepest = 64;
    constexpr int Told = 6;
    Dl_info program{};
    Dl_info here{};
    void *frames[Deepest];
    const int count = ::backtrace(frames, Deepest);
    (void)::dladdr(reinterpret_cast<void *>(::getauxval(AT_PHDR)), &program);
    std::string way;
    int told = 0;
    for (int index = 0; index < count && told < Told; ++index) {
        if (::dladdr(frames[index], &here) == 0 || here.dli_fbase != program.dli_fbase) {
            continue;
        }
        const auto offset =
            static_cast<char *>(frames[index]) - static_cast<char *>(program.dli_fbase);
        const std::string place = ' ' + std::to_string(offset);
        if ((way + ' ').find(place + ' ') == std::string::npos) {
            way += place;
            ++told;
        }
    }
    return way;
}

void Note(const char *kind, const std::string &path, bool fails)
{
    const std::string line =
        std::string(fails ? "FAILED " : "") + kind + ' ' + path + '\t' + Way() + '\n';
    const auto log = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, Told().log.c_str(),
                                                O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    (void)::syscall(SYS_write, log, line.data(), line.size());
    (void)::syscall(SYS_close, log);
}

} // namespace

namespace failing_calls {

std::string PathOf(int descriptor)
{
    char path[PATH_MAX] = "";
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const long length = ::syscall(SYS_readlink, link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

std::string PathOf(int folder, const char *path)
{
    if (!path || *path == '/') {
        return path ? path : "";
    }
    char here[PATH_MAX] = "";
    const std::string base =
        folder == AT_FDCWD ? (::getcwd(here, sizeof here) ? here : "") : PathOf(folder);
    return *path == '\0' ? base : base + '/' + path;
}

bool Fails(const char *kind, const std::string &path, bool isUsual)
{
    const int before = errno;
    const Settings &told = Told();
    bool fails = false;
    if (told.count && IsUnder(path) && IsChosen(kind, isUsual)) {
        const long number = ++*told.count;
        fails = told.number > 0 && (told.isOnwards ? number >= told.number : number == told.number);
        Note(kind, path, fails);
        if (fails && told.error < 0) { // a signal instead, before the call
            (void)::kill(::getpid(), -told.error);
            fails = false;
        }
    }
    errno = fails ? told.error : before;
    return fails;
}

} // namespace failing_calls

using namespace failing_calls;

namespace {

bool FailsForBoth(const char *kind, const std::string &one, const std::string &other)
{
    return Fails(kind, IsUnder(one) ? one : other);
}

bool FailsToOpen(int folder, const char *path, int flags)
{
    const bool isForWriting = (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT) != 0;
    const std::string whole = PathOf(folder, path);
    return isForWriting ? Fails("open", whole) : Fails("open-to-read", whole, false);
}

int Open(int folder, const char *path, int flags, mode_t mode)
{
    // All functions of the library use this one call.
    return FailsToOpen(folder, path, flags)
               ? -1
               : static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}

std::FILE *OpenStream(const char *path, const char *mode, const char *name)
{
    const int flags = std::strpbrk(mode, "wa+") ? O_RDWR : O_RDONLY;
    return FailsToOpen(AT_FDCWD, path, flags) ? nullptr : Next(&std::fopen, name)(path, mode);
}

} // namespace

// The system's own declarations differ in attributes and exception specifications.
#pragma GCC diagnostic ignored "-Wmissing-attributes"

extern "C" {

int open(const char *path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return Open(AT_FDCWD, path, flags, mode);
}

int open64(const char *path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return Open(AT_FDCWD, path, flags | O_LARGEFILE, mode);
}

int openat(int folder, const char *path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return Open(folder, path, flags, mode);
}

int openat64(int folder, const char *path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return Open(folder, path, flags | O_LARGEFILE, mode);
}

int __open_2(const char *path, int flags) // open() without a mode, in fortified builds
{
    return Open(AT_FDCWD, path, flags, 0);
}

int __open64_2(const char *path, int flags)
{
    return Open(AT_FDCWD, path, flags | O_LARGEFILE, 0);
}

int creat(const char *path, mode_t mode)
{
    return Open(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

int creat64(const char *path, mode_t mode)
{
    return creat(path, mode);
}

std::FILE *fopen(const char *path, const char *mode)
{
    return OpenStream(path, mode, "fopen");
}

std::FILE *fopen64(const char *path, const char *mode)
{
    return OpenStream(path, mode, "fopen64");
}

ssize_t read(int descriptor, void *block, size_t size)
{
    return Fails("read", PathOf(descriptor), false)
               ? -1
               : Next(&::read, "read")(descriptor, block, size);
}

ssize_t write(int descriptor, const void *block, size_t size)
{
    return Fails("write", PathOf(descriptor)) ? -1
                                              : Next(&::write, "write")(descriptor, block, size);
}

ssize_t writev(int descriptor, const struct iovec *blocks, int count)
{
    return Fails("write", PathOf(descriptor))
               ? -1
               : Next(&::writev, "writev")(descriptor, blocks, count);
}

ssize_t pwrite(int descriptor, const void *block, size_t size, off_t place)
{
    return Fails("write", PathOf(descriptor))
               ? -1
               : Next(&::pwrite, "pwrite")(descriptor, block, size, place);
}

ssize_t pwrite64(int descriptor, const void *block, size_t size, off64_t place)
{
    return Fails("write", PathOf(descriptor))
               ? -1
               : Next(&::pwrite64, "pwrite64")(descriptor, block, size, place);
}

ssize_t copy_file_range(int from, off64_t *fromPlace, int to, off64_t *toPlace, size_t size,
                        unsigned flags)
{
    return Fails("write", PathOf(to)) ? -1
                                      : Next(&::copy_file_range, "copy_file_range")(
                                            from, fromPlace, to, toPlace, size, flags);
}

int ftruncate(int descriptor, off_t size) noexcept
{
    return Fails("write", PathOf(descriptor)) ? -1
                                              : Next(&::ftruncate, "ftruncate")(descriptor, size);
}

int ftruncate64(int descriptor, off64_t size) noexcept
{
    return Fails("write", PathOf(descriptor))
               ? -1
               : Next(&::ftruncate64, "ftruncate64")(descriptor, size);
}

int fsync(int descriptor)
{
    return Fails("sync", PathOf(descriptor)) ? -1 : Next(&::fsync, "fsync")(descriptor);
}

int fdatasync(int descriptor)
{
    return Fails("sync", PathOf(descriptor)) ? -1 : Next(&::fdatasync, "fdatasync")(descriptor);
}

int syncfs(int descriptor) noexcept
{
    return Fails("sync", PathOf(descriptor)) ? -1 : Next(&::syncfs, "syncfs")(descriptor);
}

int sync_file_range(int descriptor, off64_t from, off64_t length, unsigned flags)
{
    // A call that only begins to write promises nothing.
    const bool isWait = flags != SYNC_FILE_RANGE_WRITE;
    return isWait && Fails("sync", PathOf(descriptor))
               ? -1
               : Next(&::sync_file_range, "sync_file_range")(descriptor, from, length, flags);
}

int rename(const char *from, const char *to) noexcept
{
    return FailsForBoth("rename", PathOf(AT_FDCWD, from), PathOf(AT_FDCWD, to))
               ? -1
               : Next(&::rename, "rename")(from, to);
}

int renameat(int fromFolder, const char *from, int toFolder, const char *to) noexcept
{
    return FailsForBoth("rename", PathOf(fromFolder, from), PathOf(toFolder, to))
               ? -1
               : Next(&::renameat, "renameat")(fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
              unsigned flags) noexcept
{
    return FailsForBoth("rename", PathOf(fromFolder, from), PathOf(toFolder, to))
               ? -1
               : Next(&::renameat2, "renameat2")(fromFolder, from, toFolder, to, flags);
}

int link(const char *from, const char *to) noexcept
{
    return Fails("link", PathOf(AT_FDCWD, to)) ? -1 : Next(&::link, "link")(from, to);
}

int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags) noexcept
{
    return Fails("link", PathOf(toFolder, to))
               ? -1
               : Next(&::linkat, "linkat")(fromFolder, from, toFolder, to, flags);
}

int symlink(const char *target, const char *path) noexcept
{
    return Fails("symlink", PathOf(AT_FDCWD, path)) ? -1
                                                    : Next(&::symlink, "symlink")(target, path);
}

int symlinkat(const char *target, int folder, const char *path) noexcept
{
    return Fails("symlink", PathOf(folder, path))
               ? -1
               : Next(&::symlinkat, "symlinkat")(target, folder, path);
}

int mkdir(const char *path, mode_t mode) noexcept
{
    return Fails("mkdir", PathOf(AT_FDCWD, path)) ? -1 : Next(&::mkdir, "mkdir")(path, mode);
}

int mkdirat(int folder, const char *path, mode_t mode) noexcept
{
    return Fails("mkdir", PathOf(folder, path)) ? -1
                                                : Next(&::mkdirat, "mkdirat")(folder, path, mode);
}

int chmod(const char *path, mode_t mode) noexcept
{
    return Fails("chmod", PathOf(AT_FDCWD, path)) ? -1 : Next(&::chmod, "chmod")(path, mode);
}

int fchmod(int descriptor, mode_t mode) noexcept
{
    return Fails("chmod", PathOf(descriptor)) ? -1 : Next(&::fchmod, "fchmod")(descriptor, mode);
}

int fchmodat(int folder, const char *path, mode_t mode, int flags) noexcept
{
    return Fails("chmod", PathOf(folder, path))
               ? -1
               : Next(&::fchmodat, "fchmodat")(folder, path, mode, flags);
}

int chown(const char *path, uid_t owner, gid_t group) noexcept
{
    return Fails("chown", PathOf(AT_FDCWD, path)) ? -1
                                                  : Next(&::chown, "chown")(path, owner, group);
}

int lchown(const char *path, uid_t owner, gid_t group) noexcept
{
    return Fails("chown", PathOf(AT_FDCWD, path)) ? -1
                                                  : Next(&::lchown, "lchown")(path, owner, group);
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept
{
    return Fails("chown", PathOf(descriptor)) ? -1
                                              : Next(&::fchown, "fchown")(descriptor, owner, group);
}

int fchownat(int folder, const char *path, uid_t owner, gid_t group, int flags) noexcept
{
    return Fails("chown", PathOf(folder, path))
               ? -1
               : Next(&::fchownat, "fchownat")(folder, path, owner, group, flags);
}

int unlink(const char *path) noexcept
{
    return Fails("unlink", PathOf(AT_FDCWD, path), false) ? -1 : Next(&::unlink, "unlink")(path);
}

int rmdir(const char *path) noexcept
{
    return Fails("unlink", PathOf(AT_FDCWD, path), false) ? -1 : Next(&::rmdir, "rmdir")(path);
}

int unlinkat(int folder, const char *path, int flags) noexcept
{
    return Fails("unlink", PathOf(folder, path), false)
               ? -1
               : Next(&::unlinkat, "unlinkat")(folder, path, flags);
}

} // extern "C"

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// recorded_disk MOUNT_POINT LOG IMAGE...
///
/// A file system with one file for each IMAGE, named "0", "1" and so on, each a disk for a loop
/// device. Reads and writes go to the IMAGE; every write and every flush goes to LOG as well, in
/// one order for all disks. Any write to the file "mark" sets a mark in LOG. Ends when unmounted,
/// with 0 if LOG is complete.

#include "tests/power/DiskLog.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fuse.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int MarkFile = -1;
constexpr int NoFile = -2;

struct Recorder {
    std::vector<int> images;
    std::FILE *log = nullptr;
    bool whole = true;
};

Recorder &TheRecorder()
{
    return *static_cast<Recorder *>(fuse_get_context()->private_data);
}

/// The number of a disk, MarkFile or NoFile.
int FileNumber(const char *path)
{
    if (std::strcmp(path, "/mark") == 0) {
        return MarkFile;
    }
    char *end = nullptr;
    const long number = std::strtol(path + 1, &end, 10);
    const auto count = static_cast<long>(TheRecorder().images.size());
    return end != path + 1 && *end == '\0' && number >= 0 && number < count
               ? static_cast<int>(number)
               : NoFile;
}

int Image(int number)
{
    return TheRecorder().images[static_cast<std::size_t>(number)];
}

void Record(LogEntry::Kind kind, int disk, off_t offset, std::size_t length, const char *data)
{
    Recorder &recorder = TheRecorder();
    const LogEntry entry{kind, static_cast<std::uint32_t>(disk), static_cast<std::uint64_t>(offset),
                         length};
    recorder.whole = recorder.whole && std::fwrite(&entry, sizeof entry, 1, recorder.log) == 1 &&
                     std::fwrite(data, 1, length, recorder.log) == length;
}

int GetAttributes(const char *path, struct stat *status, fuse_file_info *)
{
    *status = {};
    const int number = FileNumber(path);
    if (std::strcmp(path, "/") == 0) {
        status->st_mode = S_IFDIR | 0700;
        status->st_nlink = 2;
        return 0;
    }
    if (number == NoFile) {
        return -ENOENT;
    }
    struct stat image {};
    if (number != MarkFile && ::fstat(Image(number), &image) != 0) {
        return -errno;
    }
    status->st_mode = S_IFREG | 0600;
    status->st_nlink = 1;
    status->st_size = image.st_size;
    return 0;
}

int Open(const char *path, fuse_file_info *file)
{
    const int number = FileNumber(path);
    file->direct_io = 1; // nothing must be read or written behind the recorder's back
    return number == NoFile ? -ENOENT : 0;
}

int Truncate(const char *path, off_t, fuse_file_info *)
{
    return FileNumber(path) == MarkFile ? 0 : -EPERM;
}

int Read(const char *path, char *data, std::size_t length, off_t offset, fuse_file_info *)
{
    const int number = FileNumber(path);
    const ssize_t read = number < 0 ? 0 : ::pread(Image(number), data, length, offset);
    return read < 0 ? -errno : static_cast<int>(read);
}

int Write(const char *path, const char *data, std::size_t length, off_t offset, fuse_file_info *)
{
    const int number = FileNumber(path);
    if (number == MarkFile) {
        Record(LogEntry::Mark, 0, 0, 0, "");
        return static_cast<int>(length);
    }
    const ssize_t written = ::pwrite(Image(number), data, length, offset);
    if (written < 0) {
        return -errno;
    }
    Record(LogEntry::Write, number, offset, static_cast<std::size_t>(written), data);
    return static_cast<int>(written);
}

int Sync(const char *path, int, fuse_file_info *)
{
    const int number = FileNumber(path);
    if (number >= 0) {
        Record(LogEntry::Flush, number, 0, 0, "");
    }
    return 0;
}

bool OpenAll(char **paths, Recorder &recorder)
{
    recorder.log = std::fopen(*paths, "wbe");
    for (char **path = paths + 1; *path; ++path) {
        recorder.images.push_back(::open(*path, O_RDWR | O_CLOEXEC));
        if (recorder.images.back() < 0) {
            return false;
        }
    }
    return recorder.log != nullptr;
}

/// Leaves the mounts of the program that started this one. Their last user unmounts them when it
/// ends, and unmounting the disks needs this process to serve them still.
bool LeaveMounts(const char *mountPoint)
{
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::umount2(mountPoint, MNT_DETACH) == 0;
}

/// Serves until unmounted, one request at a time, so that a flush covers every write before it.
bool Serve(char *program, const char *mountPoint, Recorder &recorder)
{
    fuse_operations operations{};
    operations.getattr = GetAttributes;
    operations.open = Open;
    operations.truncate = Truncate;
    operations.read = Read;
    operations.write = Write;
    operations.fsync = Sync;

    fuse_args arguments{1, &program, 0};
    fuse *server = fuse_new(&arguments, &operations, sizeof operations, &recorder);
    if (!server || fuse_mount(server, mountPoint) != 0 || !LeaveMounts(mountPoint)) {
        return false;
    }
    const int ended = fuse_loop(server);
    fuse_unmount(server);
    fuse_destroy(server);
    return ended == 0;
}

} // namespace

int main(int argc, char **argv)
{
    Recorder recorder;
    if (argc < 4 || !OpenAll(argv + 2, recorder)) {
        std::perror("recorded_disk: its files");
        return EXIT_FAILURE;
    }
    const bool served = Serve(argv[0], argv[1], recorder);
    const bool closed = std::fclose(recorder.log) == 0;
    return served && closed && recorder.whole ? EXIT_SUCCESS : EXIT_FAILURE;
}

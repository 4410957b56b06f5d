// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include <csignal>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// \file
/// peak_memory FILE PROGRAM [ARGUMENT...]: runs a program and writes its peak memory into FILE, in
/// KiB. Exits with the program's exit code, or with 128 plus the number of the signal that ended
/// it.
///
/// A separate small program, because the memory of a process before exec counts for the new
/// program too.

namespace {

constexpr int CannotRun = 126;
constexpr int Signalled = 128;

bool Write(const char *path, long kibibytes)
{
    std::FILE *file = std::fopen(path, "w");
    return file && std::fprintf(file, "%ld\n", kibibytes) > 0 && std::fclose(file) == 0;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3) {
        return CannotRun;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
        (void)::execv(argv[2], argv + 2); // returns only when it fails
        ::_exit(CannotRun);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child ||
        !Write(argv[1], usage.ru_maxrss)) {
        return CannotRun;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : Signalled + WTERMSIG(status);
}

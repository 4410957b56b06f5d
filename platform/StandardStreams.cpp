// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/StandardStreams.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

void PrepareStandardStreams()
{
    (void)std::signal(SIGPIPE, SIG_IGN);

    // In ascending order, since open() takes the lowest number that is free.
    constexpr std::array<int, 3> Streams{STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    for (const int stream : Streams) {
        if (::fcntl(stream, F_GETFD) == -1) {
            (void)::open("/dev/null", O_RDWR); // without it the stream just stays closed
        }
    }
}

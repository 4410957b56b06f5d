// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

// storm_driver PROCESS THREADS [LINES]: logs from all threads at once, LINES each or until standard
// input ends, and prints how many lines each thread has logged. With "ordinary" as a last argument
// it drops root's privileges first.

#include "OrdinaryUser.h"
#include "platform/LogHandler.h"

#include <QDebug>
#include <QString>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

std::atomic<bool> enough{false};

/// Lines of many lengths, each with an end mark that shows it is whole.
int LogLines(int process, int thread, int lines)
{
    int line = 0;
    while (lines > 0 ? line < lines : !enough) {
        qInfo().noquote() << process << thread << line << QString(line % 97, QLatin1Char('.'))
                          << "end";
        ++line;
    }
    return line;
}

void WaitForEndOfInput()
{
    while (std::getchar() != EOF) {
    }
    enough = true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        return 2;
    }
    if (std::strcmp(argv[argc - 1], "ordinary") == 0) {
        BecomeOrdinaryUser();
    }
    const int process = std::atoi(argv[1]);
    const int lines = argc > 3 ? std::atoi(argv[3]) : 0;
    CLogHandler::Initialize();
    std::vector<int> logged(static_cast<std::size_t>(std::atoi(argv[2])));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < logged.size(); ++i) {
        threads.emplace_back([process, lines, i, &logged] {
            logged[i] = LogLines(process, static_cast<int>(i), lines);
        });
    }
    if (lines == 0) {
        WaitForEndOfInput();
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const int count : logged) {
        (void)std::printf("%d\n", count);
    }
    return 0;
}

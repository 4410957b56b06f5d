// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Memcheck.h"

#include "tests/support/TestFiles.h"

#include <cstdio>

QStringList Memcheck::wrapper() const
{
    return {
        QStringLiteral("valgrind"), QStringLiteral("--leak-check=full"),
        QStringLiteral("--show-leak-kinds=definite"),
        QStringLiteral("--errors-for-leak-kinds=definite"), QStringLiteral("--error-exitcode=99"),
        QStringLiteral("--num-callers=40"), QStringLiteral("--gen-suppressions=all"),
        QStringLiteral("--suppressions=" VALGRIND_SUPPRESSIONS),
        // Ignore what a fork does before it executes another program.
        QStringLiteral("--child-silent-after-fork=yes"), QStringLiteral("--log-file=") + logFile()};
}

bool Memcheck::foundNothing() const
{
    const QByteArray log = ReadFile(logFile());
    if (log.contains("ERROR SUMMARY: 0 errors from 0 contexts")) {
        return true;
    }
    (void)std::fprintf(stderr, "%s\n", log.isEmpty() ? "memcheck did not run" : log.constData());
    return false;
}

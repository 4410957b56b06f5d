// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/PeakMemory.h"

#include "tests/support/TestFiles.h"

bool PeakMemory::isComparable()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

QStringList PeakMemory::wrapper() const
{
    return {QStringLiteral(PEAK_MEMORY), path()};
}

double PeakMemory::mebibytes() const
{
    bool known = false;
    const double kibibytes = ReadFile(path()).trimmed().toDouble(&known);
    return known ? kibibytes / 1024 : -1;
}

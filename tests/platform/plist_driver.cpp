// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/InfoPlist.h"

#include <cstdio>

/// Prints what ReadInfoPlist() makes of the file that is given, a line for each item: the text in
/// brackets, or "none".
int main(int argc, char *argv[])
{
    const InfoPlist list = ReadInfoPlist(argc > 1 ? argv[1] : "");
    for (const auto &item : {list.identifier, list.version}) {
        (void)std::printf("%s\n", item ? ('[' + *item + ']').c_str() : "none");
    }
    return 0;
}

// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dlfcn.h>
#include <string>

/// \file
/// Shared by the functions of the preloaded library, and hidden from the program.

#pragma GCC visibility push(hidden)

namespace failing_calls {

/// Returns the path of an open file; errno may change.
std::string PathOf(int descriptor);
/// Returns the path that a call means with a folder and a path; errno may change.
std::string PathOf(int folder, const char *path);

/// Counts a call. Returns whether it is to fail, and then sets errno; otherwise errno stays.
///
/// \a isUsual  it is counted even if no kinds were chosen.
bool Fails(const char *kind, const std::string &path, bool isUsual = true);

/// The system's function that this library hides.
template <typename Function>
Function *Next(Function * /*same*/, const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace failing_calls

#pragma GCC visibility pop

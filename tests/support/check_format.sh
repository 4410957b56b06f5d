#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# check_format.sh CLANG_FORMAT SOURCE_FOLDER: fails when a source file is not formatted.
set -u
"$1" --version | grep -q 'version 14\.' || { echo "this needs clang-format 14"; exit 77; }
cd "$2" || exit 1
set -- "$1" app core engine ui platform release publish inplace examples tests
program=$1
shift
find "$@" \( -name '*.h' -o -name '*.cpp' -o -name '*.mm' \) -print0 |
  xargs -0 "$program" --dry-run -Werror

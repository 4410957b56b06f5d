#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# check_format.sh CLANG_FORMAT SOURCE_FOLDER: fails if a source file is not formatted, and says how to format it.
set -u
program=$1
"$program" --version | grep -q 'version 14\.' || { echo "this needs clang-format 14"; exit 77; }
cd "$2" || exit 1
output=$(find app bench core engine ui platform release publish inplace examples tests \
  \( -name '*.h' -o -name '*.cpp' -o -name '*.mm' \) -print0 |
  xargs -0 "$program" --dry-run -Werror 2>&1) && exit
echo "$output"
echo
echo "To fix it:"
echo "  $program -i" $(echo "$output" | sed -n 's/^\([^ :]*\):[0-9]*:[0-9]*: error:.*/\1/p' | sort -u)
exit 1

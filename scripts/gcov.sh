#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# gcov.sh ARGUMENT...: runs gcov and replaces negative counts by zero. gcov derives some counts from others; if a
# process ends or writes its counts while a function runs, they do not add up, and gcovr stops at the first such
# line. GCOV names another gcov.
set -eu
"${GCOV:-gcov}" "$@"
find . -maxdepth 1 -name '*.gcov' -exec sed -E -i \
  -e '/^(branch|call|unconditional|function) /s/ -[0-9]+%?/ 0/g' \
  -e 's/^ *-[0-9]+(\*?): /    #####: /' {} +

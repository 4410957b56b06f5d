#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# coverage.sh SOURCE BUILD FILTER LINES BRANCHES: prints how much of the files of SOURCE that match FILTER was
# reached by the programs of BUILD, and fails below LINES and BRANCHES, both in percent.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
exec gcovr --root "$1" --object-directory "$2" --gcov-executable "$here/gcov.sh" \
  --exclude-throw-branches --exclude-unreachable-branches --filter "$3" \
  --txt --print-summary --fail-under-line "$4" --fail-under-branch "$5" "$2"

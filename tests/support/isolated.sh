#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# isolated.sh PROGRAM [ARGUMENT...]: runs a test in surroundings of its own. The program sees its own
# HOME, TMPDIR, XDG_RUNTIME_DIR and working directory, which are removed at the end, and none of the
# caller's environment but PATH and the options of the sanitizers and the coverage counters.
set -u

support=$(cd "$(dirname "$0")" && pwd)
root=$(mktemp -d "${TMPDIR:-/tmp}/updater-test.XXXXXX") || exit 99
trap 'chmod -R u+rwX "$root" 2>/dev/null; rm -rf "$root"' EXIT
trap 'kill -TERM "$child" 2>/dev/null; wait "$child"; exit 143' TERM INT HUP
chmod 0711 "$root" || exit 99 # a test that stops being root still reaches its files
mkdir "$root/home" "$root/tmp" "$root/work" && mkdir -m 0700 "$root/run" || exit 99
cd "$root/work" || exit 99

env -i \
  PATH="$PATH" \
  HOME="$root/home" \
  TMPDIR="$root/tmp" \
  XDG_RUNTIME_DIR="$root/run" \
  LC_ALL=C.UTF-8 \
  QT_QPA_PLATFORM=offscreen \
  ASAN_OPTIONS="${ASAN_OPTIONS-fast_unwind_on_malloc=0}" \
  LSAN_OPTIONS="${LSAN_OPTIONS-suppressions=$support/lsan.supp:print_suppressions=0}" \
  GCOV_ERROR_FILE="${GCOV_ERROR_FILE-}" \
  TSAN_OPTIONS="${TSAN_OPTIONS-}" \
  UBSAN_OPTIONS="${UBSAN_OPTIONS-print_stacktrace=1}" \
  "$@" &
child=$!
wait "$child"

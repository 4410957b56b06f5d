#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# isolated.sh PROGRAM [ARGUMENT...]: runs a test in its own environment. The program sees its own HOME, TMPDIR,
# XDG_RUNTIME_DIR and working directory, which are removed at the end. Of the caller's environment it sees only PATH
# and the options of the sanitizers and the coverage counters.
#
# Whatever a sanitizer reports in the program or in one that it started, even a killed one, is printed at the end
# and makes the test fail.
set -u

support=$(cd "$(dirname "$0")" && pwd)
root=$(mktemp -d "${TMPDIR:-/tmp}/updater-test.XXXXXX") || exit 99
trap 'chmod -R u+rwX "$root" 2>/dev/null; rm -rf "$root"' EXIT
trap 'kill -TERM "$child" 2>/dev/null; wait "$child"; exit 143' TERM INT HUP
chmod 0711 "$root" || exit 99 # a test that stops being root still reaches its files
mkdir "$root/home" "$root/tmp" "$root/work" && mkdir -m 0700 "$root/run" || exit 99
mkdir -m 1777 "$root/reports" || exit 99
cd "$root/work" || exit 99

# Shared-memory segments left behind by killed sessions would block later tests that get the same key by chance.
# Where the system allows it, each test starts without any and removes its own.
own_ipc=
unshare --ipc true 2>/dev/null && own_ipc='unshare --ipc'

report="log_path=$root/reports/report"
# Data that Qt hands from one thread to another looks like a race, because QMutex is not instrumented. Such accesses
# by library functions are ignored; our own locks and threads are not.
tsan="ignore_interceptors_accesses=1:suppressions=$support/tsan.supp:print_suppressions=0"
# The address sanitizer wants to be loaded first, but does not need it: some tests preload a library of theirs.
asan="fast_unwind_on_malloc=0:verify_asan_link_order=0"
env -i \
  PATH="$PATH" \
  HOME="$root/home" \
  TMPDIR="$root/tmp" \
  XDG_RUNTIME_DIR="$root/run" \
  LC_ALL=C.UTF-8 \
  QT_QPA_PLATFORM=offscreen \
  ASAN_OPTIONS="${ASAN_OPTIONS-$asan:$report}" \
  LSAN_OPTIONS="${LSAN_OPTIONS-suppressions=$support/lsan.supp:print_suppressions=0}" \
  ${UPDATER_SEED:+UPDATER_SEED="$UPDATER_SEED"} \
  GCOV_ERROR_FILE="${GCOV_ERROR_FILE-}" \
  TSAN_OPTIONS="${TSAN_OPTIONS-$tsan:$report}" \
  UBSAN_OPTIONS="${UBSAN_OPTIONS-print_stacktrace=1:$report}" \
  $own_ipc "$@" &
child=$!
wait "$child"
code=$?

set -- "$root"/reports/*
if [ -e "$1" ]; then
  cat "$@" >&2
  [ "$code" -ne 0 ] || code=98
fi
exit "$code"

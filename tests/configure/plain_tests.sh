#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# plain_tests.sh SOURCE [TARGET...]: configures the tests that are built on a Mac, and builds the targets. Works in
# the current folder.
set -eu
source=$1
shift

fail() {
  echo "plain_tests.sh: $*" >&2
  cat output >&2
  exit 1
}

cmake -S "$source" -B plain -G Ninja -DCMAKE_BUILD_TYPE=Debug -DUPDATER_PLAIN_TESTS=ON -DUPDATER_WERROR=ON \
  -DUPDATER_BUILD_TOOLS=OFF -DUPDATER_BUILD_EXAMPLES=OFF >output 2>&1 || fail "not configured"
ctest --test-dir plain -N >output || fail "no tests"
for test in tst_md5 tst_httpfetch_answer tst_downloadthread tst_updatenotice tst_updateprogress \
  tst_updatedescription tst_statusrecord tst_versionnumber tst_platformcontract format; do
  grep -q ": $test\$" output || fail "$test is not among them"
done
for test in tst_httpfetch_wait tst_session tst_logfiles tst_outcomes tst_mainbundle; do
  ! grep -q ": $test\$" output || fail "$test is among them"
done
[ $# -eq 0 ] || cmake --build plain --target "$@" >output 2>&1 || fail "not built"

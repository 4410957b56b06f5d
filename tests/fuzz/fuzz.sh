#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# fuzz.sh PROGRAM SECONDS [SEED]: runs a fuzz target in the current folder, from its committed seeds and from
# what lies in corpus/ on, with random numbers from SEED on. Adds to corpus/, leaves an input that fails in
# findings/, and ends with a line that gives executions and findings. The exit code is 0 if there were no
# findings.
set -u

usage() {
  echo 'fuzz.sh PROGRAM SECONDS [SEED]: runs a fuzz target in the current folder. See ./check fuzz.'
}
case ${1-} in
  -h | --help) usage; exit 0 ;;
esac
if [ $# -lt 2 ] || [ $# -gt 3 ]; then
  usage >&2
  exit 2
fi

program=$1
seconds=$2
seed=${3-}
subject=${program##*/fuzz_}
tests=$(cd "$(dirname "$0")/.." && pwd)
seeds=$tests/fuzz/seeds/$subject
rm -rf findings
mkdir -p corpus findings || exit 99

# Each target has its own options: those that the tests set would slow all of them down.
unset ASAN_OPTIONS LSAN_OPTIONS
export UBSAN_OPTIONS=print_stacktrace=1
"$program" -max_total_time="$seconds" ${seed:+-seed="$seed"} -timeout=30 -rss_limit_mb=2048 \
  -print_final_stats=1 -artifact_prefix=findings/ corpus "$seeds" >log 2>&1
code=$?
executions=$(sed -n 's/^stat::number_of_executed_units: *//p' log)
if [ "$code" -ne 0 ]; then
  grep -v -e 'NEW ' -e 'REDUCE ' -e 'pulse ' log
  for input in findings/*; do
    [ -f "$input" ] && { echo "$input:"; base64 "$input"; }
  done
fi
echo "$subject: ${executions:-no} executions, $(find findings -type f | wc -l) findings"
[ "$code" -eq 0 ] && [ "${executions:-0}" -gt 0 ]

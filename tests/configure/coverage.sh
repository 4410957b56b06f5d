#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# coverage.sh SOURCE CXX: the coverage of a small program comes out, twice, with counts below zero among gcov's,
# and the floors hold. Works in the current folder.
set -eu
export PATH="/usr/bin:$PATH" # gcovr is a script of the system's own Python

fail() {
  echo "coverage.sh: $*" >&2
  cat output >&2
  exit 1
}

mkdir -p program
cat >program/program.cpp <<'TEXT'
int main(int argc, char **)
{
    if (argc > 1) {
        return 1;
    }
    return 0;
}
TEXT
"$2" --coverage -c program/program.cpp -o program/program.o
"$2" --coverage program/program.o -o program/program

# What gcov sometimes says.
cat >gcov <<'TEXT'
#!/bin/sh
gcov "$@" || exit
for file in *.gcov; do
  case $file in *program.cpp*) ;; *) continue ;; esac
  sed -E -i 's/^(branch +0 taken) 0/\1 -1/; s/^ *#####:( *4:)/       -1:\1/' "$file"
  grep -q 'taken -1' "$file" && grep -q -- '-1: *4:' "$file" || exit
  echo below zero >>"$SEEN"
done
TEXT
chmod +x gcov
export GCOV="$PWD/gcov" SEEN="$PWD/seen"

for run in first second; do
  ./program/program
  "$1/scripts/coverage.sh" . program program/ 75 50 >output 2>&1 || fail "the $run run failed"
  grep -q '^lines: 75.0% (3 out of 4)$' output || fail "the $run run gave no figure of lines"
  grep -q '^branches: 50.0% (1 out of 2)$' output || fail "the $run run gave no figure of branches"
done
[ "$(grep -c 'below zero' seen)" = 2 ] || fail "no count was below zero"

for floors in '75.5 50' '75 50.5'; do
  if "$1/scripts/coverage.sh" . program program/ $floors >output 2>&1; then
    fail "passed below the floors $floors"
  fi
done

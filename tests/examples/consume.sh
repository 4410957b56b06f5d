#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# consume.sh SOURCE_FOLDER archive|folder [CMAKE_ARGUMENT...]: builds the sample host application in the
# current folder, as a project of its own that takes the updater from an archive (FetchContent) or from a
# folder (add_subdirectory), and runs the updater in its bundle. Fails when any of it does not work.
set -eu
source=$1
how=$2
shift 2

fail() {
  echo "consume.sh: $*" >&2
  exit 1
}

case $how in
  archive)
    tar -C "$source" --exclude=./build --exclude=./.git --exclude=./tests -czf updater.tar.gz .
    updater=$PWD/updater.tar.gz
    cp -R "$source/examples/host-qt" host-qt ;; # far from the updater's own folders
  folder)
    updater=$source
    cp -R "$source/examples/host-qt" host-qt ;;
  *) fail "archive or folder, not $how" ;;
esac

cmake -S host-qt -B build -G Ninja "-DUPDATER_SOURCE=$updater" \
  -DUPDATE_BASE_URL=http://127.0.0.1:9/kestrel "$@" >configure.log || { cat configure.log; exit 1; }
cmake --build build >build.log || { cat build.log; exit 1; }

macos=build/Kestrel.app/Contents/MacOS
case "$*" in
  *KESTREL_IN_PLACE=ON*) set -- inplace_update ;;
  *) set -- ;;
esac
for file in Kestrel updater system.cfg ../Info.plist "$@"; do
  [ -f "$macos/$file" ] || fail "$file is not in the bundle"
done
report=$("$macos/updater" console) || fail "exit code $?"
case $report in
  '{"errormsg":"下载升级描述文件失败:'*'"success":false,"update":false}') ;;
  *) fail "not the report of a failed fetch: $report" ;;
esac
[ -d "$HOME/.com.example.kestrel/Log" ] || fail "the bundle's property list was not found"

cmake --install build --prefix installed >/dev/null
[ -z "$(find installed -type f 2>/dev/null)" ] || fail "the project has install rules of the updater"

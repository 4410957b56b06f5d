#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# Checks on a Mac what no test on another system can check: the real frameworks, a real signature, the App Sandbox.
# Works in its folder and in the data directories of com.example.updater-check, and removes the latter.
set -eu
cd "$(dirname "$0")/.."

usage() {
  cat <<'TEXT'
scripts/check_on_mac.sh [--qt FOLDER] [--updater FILE] [--port N] [--folder FOLDER]

  --qt FOLDER      Qt's folder, which has bin/macdeployqt; default: $QT
  --updater FILE   check this program instead of building one; its base URL must be http://127.0.0.1:N
  --port N         the port of the small web server (default 8000)
  --folder FOLDER  the working folder (default build/check_on_mac)

Needs Xcode's command line tools, CMake, Python 3 and Qt 5. On other systems it runs the steps that need no Mac
and says which ones it leaves out. Each expectation is printed with "ok" or "NOT OK"; the exit code is 0 if all
of them hold.
TEXT
}

qt=${QT-}
program=
port=8000
folder=$PWD/build/check_on_mac
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help) usage; exit 0 ;;
    --qt | --updater | --port | --folder) [ $# -gt 1 ] || { usage >&2; exit 2; } ;;
    *) usage >&2; exit 2 ;;
  esac
  case $1 in
    --qt) qt=$2 ;;
    --updater) program=$(cd "$(dirname "$2")" && pwd)/$(basename "$2") ;;
    --port) port=$2 ;;
    --folder) mkdir -p "$2" && folder=$(cd "$2" && pwd) ;;
  esac
  shift 2
done

[ "$(uname)" = Darwin ] && mac=yes || mac=
if [ -n "$mac" ] && [ ! -x "$qt/bin/macdeployqt" ]; then
  echo "check_on_mac.sh: no macdeployqt in \"$qt/bin\"; use --qt FOLDER" >&2
  exit 1
fi

identifier=com.example.updater-check
data=$HOME/.$identifier
container=$HOME/Library/Containers/$identifier
app=$folder/Check.app
server=
failures=0

tidy() {
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  rm -rf "$data"
  [ -z "$mac" ] || rm -rf "$container" 2>/dev/null || true
}
trap tidy EXIT
trap 'exit 130' INT TERM HUP

title() { printf '\n%s\n' "$*"; }

left_out() { echo "  left out, needs a Mac: $*"; }

expect() { # TEXT COMMAND...: the command succeeds
  text=$1
  shift
  if "$@" >/dev/null 2>&1; then
    echo "  ok      $text"
  else
    echo "  NOT OK  $text"
    failures=$((failures + 1))
  fi
}

expect_not() { # TEXT COMMAND...
  text=$1
  shift
  if "$@" >/dev/null 2>&1; then set -- false; else set -- true; fi
  expect "$text" "$@"
}

says() { grep -qF -- "$1" "$folder/said"; }

reports() { grep -qF -- "$1" "$folder/report"; }

run_session() { # console session; its standard error is in $folder/said, its report in $folder/report
  code=0
  (cd "$folder" && exec "$app/Contents/MacOS/updater" console >report 2>said) || code=$?
}

publish() { # VERSION
  echo "{\"Version\":$1,\"VersionString\":\"1.2.3\"}" >"$folder/web/update.json"
}

build() {
  title '1. Build'
  if [ -n "$program" ]; then
    echo "  left out: using $program"
    return
  fi
  cmake -S . -B "$folder/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$qt" -DUPDATER_BUILD_TESTS=OFF \
    -DUPDATER_BUILD_TOOLS=OFF -DUPDATER_BUILD_EXAMPLES=OFF -DUPDATE_BASE_URL="http://127.0.0.1:$port" \
    >"$folder/build.log" 2>&1 && cmake --build "$folder/build" --target updater >>"$folder/build.log" 2>&1 ||
    { cat "$folder/build.log"; exit 1; }
  program=$folder/build/app/updater
  expect_not 'no warning from the macOS module' grep -q 'PlatformServices_mac.mm:.*warning' "$folder/build.log"
}

lay_out() {
  title '2. A bundle, and a server'
  mkdir -p "$app/Contents/MacOS" "$folder/web"
  cp "$program" "$app/Contents/MacOS/updater"
  cat >"$app/Contents/Info.plist" <<END
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
<key>CFBundleExecutable</key><string>updater</string>
<key>CFBundleIdentifier</key><string>$identifier</string>
<key>CFBundlePackageType</key><string>APPL</string>
<key>CFBundleShortVersionString</key><string>1.2.3</string>
</dict></plist>
END
  if [ -n "$mac" ]; then "$qt/bin/macdeployqt" "$app"; else left_out macdeployqt; fi
  publish 1020003
  (cd "$folder/web" && exec python3 -m http.server --bind 127.0.0.1 "$port") >"$folder/server.log" 2>&1 &
  server=$!
  tries=0
  until python3 -c "import socket; socket.create_connection(('127.0.0.1', $port))" 2>/dev/null; do
    [ $((tries += 1)) -lt 100 ] && kill -0 "$server" 2>/dev/null || { cat "$folder/server.log"; exit 1; }
    sleep 0.1
  done
  expect 'the server answers' kill -0 "$server"
}

outside_the_sandbox() {
  title '3. Outside the sandbox'
  rm -rf "$data"
  if [ -n "$mac" ]; then codesign --force --deep --sign - "$app"; else left_out codesign; fi
  run_session
  if [ -n "$mac" ]; then
    expect 'it looks for the sandbox' says 'check if app is sandboxed or not'
    expect 'it finds none' says 'app is not sandboxed'
  else
    left_out 'looking for the sandbox'
  fi
  expect 'it makes its data directory' says "createDirectoryAtPath:path=$data"
  expect 'it can write there' says "not sandboxed:path=$data,writable=1"
  expect 'it knows the version of the bundle' \
    reports '"errormsg":"current version:1.2.3, newest version:1.2.3"'
  expect 'exit code 1, as always when there is no update' [ "$code" = 1 ]
  expect 'it writes its log' sh -c 'ls "$1"/Log/*.log' - "$data"
  run_session
  expect_not 'it does not make the directory a second time' says createDirectoryAtPath
  publish 1020004
  echo '  A notice opens now. Press Escape, or click the right button.'
  run_session
  expect '1.2.3 counts as 1020003, so that 1020004 is newer' reports '"success":true,"update":false'
  expect 'exit code 0 after the notice' [ "$code" = 0 ]
  publish 1020003
}

in_the_sandbox() {
  title '4. In the sandbox'
  if [ -z "$mac" ]; then
    left_out 'all of it'
    return
  fi
  cat >"$folder/sandbox.plist" <<'END'
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
<key>com.apple.security.app-sandbox</key><true/>
<key>com.apple.security.network.client</key><true/>
</dict></plist>
END
  rm -rf "$data"
  codesign --force --deep --sign - "$app"
  codesign --force --sign - --entitlements "$folder/sandbox.plist" "$app"
  run_session
  expect 'it finds the sandbox' says 'app is sandboxed'
  expect 'its data directory is the container' says "sandboxed:path=$container/Data"
  expect 'it writes its log there' sh -c 'ls "$1"/Data/Log/*.log' - "$container"
  expect_not 'it leaves the home alone' [ -e "$data" ]
}

services() {
  title '5. The three functions that a session does not call'
  if [ -z "$mac" ]; then
    left_out 'all of it'
    return
  fi
  clang++ -std=c++17 -I . tests/platform/mac/services.mm platform/PlatformServices_mac.mm -o "$folder/services" \
    -framework Foundation -framework AppKit -framework CoreFoundation -framework Security -framework IOKit
  echo '  A window opens. It must have no title, no title bar and no buttons. End it with Control-C.'
  trap : INT
  "$folder/services" >"$folder/said" 2>&1 || true
  trap 'exit 130' INT
  for property in IOPlatformSerialNumber IOPlatformUUID; do
    value=$(ioreg -rd1 -c IOPlatformExpertDevice | sed -n "s/.*\"$property\" = \"\(.*\)\"/\1/p")
    expect "$property is the one of ioreg" says "$property $value"
  done
}

rm -rf "$folder/Check.app" "$folder/web"
mkdir -p "$folder"
build
lay_out
outside_the_sandbox
in_the_sandbox
services
title "$failures expectations do not hold."
[ "$failures" = 0 ]

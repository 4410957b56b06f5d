# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# Sourced by ./run: shows updates in place with real windows. Signed releases of a bundle are published;
# it is updated, put back, and updated again while things go wrong. Each time the difference from the
# release is printed. Needs the stage.

bundle=           # the installed Sample.app
pictures=0
step=             # which part of the story this is

make_release() { # VERSION FOLDER
  local contents=$2/Contents
  mkdir -p "$contents/MacOS" "$contents/Resources/空" "$contents/Frameworks/Sample.framework/Versions/A"
  cat >"$contents/Info.plist" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
    <key>CFBundleIdentifier</key>
    <string>com.example.sample</string>
    <key>CFBundleShortVersionString</key>
    <string>$1</string>
</dict>
</plist>
XML
  cat >"$contents/MacOS/Sample" <<'SH'
#!/bin/sh
# The sample application: leaves a record of how it was started.
version=$(sed -n '/ShortVersion/{n;s/[^0-9]*\([0-9.]*\).*/\1/p}' "${0%/*}/../Info.plist")
echo "Sample $version, started with: ${1##*/} $2" >>"$DEMO_RECORDS/host"
SH
  chmod 755 "$contents/MacOS/Sample"
  head -c 700000 /dev/zero | tr "\0" "${1:2:1}" >"$contents/Resources/图片.dat"
  seq 1 200000 >"$contents/Resources/the same in every release"
  echo "version $1" >"$contents/Frameworks/Sample.framework/Versions/A/Sample"
  ln -s A "$contents/Frameworks/Sample.framework/Versions/Current"
  ln -s Versions/Current/Sample "$contents/Frameworks/Sample.framework/Sample"
  [ "$1" = 1.0.0 ] || echo "new in $1" >"$contents/Resources/new in $1"
  (cd "$2" && find . -type f | LC_ALL=C sort | xargs -d '\n' sha256sum) >"$temporary/seal"
  mkdir "$contents/_CodeSignature"
  mv "$temporary/seal" "$contents/_CodeSignature/CodeResources"
}

make_keys() {
  minisign -G -W -p "$temporary/vendor.pub" -s "$temporary/vendor.key" >/dev/null
  key=$(tail -n 1 "$temporary/vendor.pub")
}

publish_release() { # VERSION
  make_release "$1" "$temporary/releases/$1/Sample.app"
  "$stage/release/publish/publish_update" --version "$1" --min-version 0 \
    --download-url https://update.example.com/download \
    --sign-with "minisign -S -s '$temporary/vendor.key' -m" --public-key "$key" \
    "$temporary/releases/$1/Sample.app" "$www" >"$records/publishing" 2>&1 ||
    give_up "Publishing failed: $(cat "$records/publishing")"
  echo "  published and signed: $1"
}

# start_update [OPTION...]: in the background, with windows.
start_update() {
  in_own_home "$stage/release/inplace/inplace_update" \
    --base-url "http://127.0.0.1:$port/public/kestrel/update/mac" --public-key "$key" \
    --install "$bundle" --staging "$temporary/staging" --start Contents/MacOS/Sample "$@" \
    >"$records/output" 2>"$records/errors" &
  session=$!
  processes+=($session)
}

# The progress dialog has no title.
shows_progress() {
  [ -n "$(xdotool search --onlyvisible --class inplace_update 2>/dev/null)" ] && ! shows CUpdateNotice
}

picture() { # NAME
  sleep 0.3 # until it is painted
  import -window root "$screenshots/inplace-$((pictures += 1))-$1.png"
  echo "  picture: ${screenshots#"$PWD/"}/inplace-$pictures-$1.png"
}

# answer_window WINDOW NAME KEY: as the user would, with a picture taken first.
answer_window() {
  [ -n "$virtual" ] || return 0
  await_window "$1"
  picture "$2"
  xdotool windowfocus --sync "$window" key "$3"
}

watch_progress() { # NAME
  [ -n "$virtual" ] || return 0
  await shows_progress || give_up "The progress dialog did not appear: $(cat "$records/errors")"
  sleep 0.7 # well into the largest file
  picture "$1"
}

is_in_download() { [ -n "$(find "$temporary/staging" -path '*#fetch*' 2>/dev/null)" ]; }

end_update() {
  code=0
  wait "$session" || code=$?
  sleep 0.3 # detached programs write their records
  echo "  exit code $code; said: $(tail -n 1 "$records/errors")"
}

# tell_difference VERSION: from the installed bundle to the release, modes and links included.
tell_difference() {
  local there wanted
  there=$(cd "$bundle" && find . -printf '%P %y %m %l\n' | LC_ALL=C sort)
  wanted=$(cd "$temporary/releases/$1/Sample.app" && find . -printf '%P %y %m %l\n' | LC_ALL=C sort)
  printf '  difference to %s: ' "$1"
  if [ "$there" = "$wanted" ] && diff -r --no-dereference "$bundle" "$temporary/releases/$1/Sample.app" &&
    (cd "$bundle" && sha256sum --quiet -c Contents/_CodeSignature/CodeResources); then
    echo none
  else
    diff <(echo "$there") <(echo "$wanted") || true
    give_up "The installation is not release $1."
  fi
}

title() { printf '\n%s\n' "$*"; }

restart_server() {
  serve
  server=${processes[-1]}
}

stop_server() {
  kill "$server"
  wait "$server" 2>/dev/null || true
}

show_inplace_update() {
  build publish_update inplace_update
  bundle=$temporary/Applications/Sample.app
  mkdir -p "$temporary/Applications"
  make_keys

  title 'A signed release is installed'
  publish_release 1.0.0
  cp -a "$temporary/releases/1.0.0/Sample.app" "$bundle"
  tell_difference 1.0.0

  title 'The next one is published: notice, progress, and the application in its new version'
  publish_release 1.1.0
  rate=300k
  restart_server
  start_update --ask
  answer_window CUpdateNotice notice Return
  watch_progress progress
  end_update
  tell_difference 1.1.0

  title 'Back to the previous release'
  start_update --undo
  end_update
  tell_difference 1.0.0

  title 'A file was changed on the server: nothing is installed'
  printf 'x' | dd of="$www/1.1.0/Contents/Resources/图片.dat" bs=1 seek=1000 conv=notrunc 2>/dev/null
  start_update
  answer_window CUpdateError tampered Escape
  end_update
  tell_difference 1.0.0
  cp "$temporary/releases/1.1.0/Sample.app/Contents/Resources/图片.dat" \
    "$www/1.1.0/Contents/Resources/图片.dat"

  title 'The server dies in the middle; a retry works once it is back'
  start_update
  await is_in_download || give_up 'The download did not begin.'
  watch_progress before-the-server-died
  stop_server
  if [ -n "$virtual" ]; then await_window CUpdateError; picture server-died; fi
  tell_difference 1.0.0
  restart_server
  if [ -n "$virtual" ]; then xdotool windowfocus --sync "$window" key Return; fi
  end_update
  tell_difference 1.1.0

  title 'Killed in the middle; the next run completes it'
  publish_release 1.2.0
  start_update
  watch_progress before-the-kill
  sleep 0.5
  kill -KILL "$session"
  wait "$session" 2>/dev/null || true
  tell_difference 1.1.0
  start_update
  end_update
  tell_difference 1.2.0

  tell_file 'The application was started as' "$records/host"
}

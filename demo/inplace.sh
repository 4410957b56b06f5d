# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# To be sourced by ./run: a release is published, and an installation of the one before is updated in
# place. Needs the stage.

make_releases() { # old in $1, new in $2
  mkdir -p "$1/bin" "$1/资源" "$2/bin" "$2/资源" "$2/new"
  printf '#!/bin/sh\necho 3.0.0\n' >"$1/bin/kestrel"
  printf '#!/bin/sh\necho 3.1.0\n' >"$2/bin/kestrel"
  chmod +x "$1/bin/kestrel" "$2/bin/kestrel"
  head -c 300000 /dev/zero | tr '\0' a >"$1/资源/图片.dat"
  head -c 900000 /dev/zero | tr '\0' b >"$2/资源/图片.dat"
  echo 'the same in both' | tee "$1/same.txt" >"$2/same.txt"
  echo 'dropped by the new release' >"$1/dropped.txt"
  echo 'new in this release' >"$2/new/read me.txt"
}

publish_release() {
  "$stage/release/publish/publish_update" --version 3.1.0 --min-version 2.0.0 \
    --download-url https://update.example.com/download "$1" "$www"
}

# The progress dialog has no title.
shows_progress() { xdotool search --onlyvisible --class inplace_update >/dev/null 2>&1; }

picture_while_it_runs() {
  await shows_progress || give_up "The progress dialog did not come: $(cat "$records/errors")"
  sleep 1 # well into the largest file
  import -window root "$screenshots/inplace-1-CUpdateProgress.png"
}

show_inplace_update() {
  build publish_update inplace_update
  local old=$temporary/old new=$temporary/new installation=$temporary/installation code=0
  make_releases "$old" "$new"
  cp -a "$old" "$installation"
  printf '\nPublishing\n'
  publish_release "$new" 2>&1 | awk '{ print "  " $0 }'
  rate=300k
  serve
  in_own_home "$stage/release/inplace/inplace_update" \
    --base-url "http://127.0.0.1:$port/public/kestrel/update/mac" \
    --install "$installation" --staging "$temporary/staging" \
    >"$records/output" 2>"$records/errors" &
  session=$!
  processes+=($session)
  if [ -n "$virtual" ]; then picture_while_it_runs; fi
  wait "$session" || code=$?
  printf '\nExit code\n  %s\n' "$code"
  tell_file 'Standard error' "$records/errors"
  printf '\nThe installation now\n'
  (cd "$installation" && find . -type f | sort | sed 's/^/  /')
  diff -r "$new" "$installation" >"$records/differences" || true
  tell_file 'Differences from the release (what was dropped, kept copies and the manifest stay)' \
    "$records/differences"
  printf '\nThe installed program says\n  %s\n' "$("$installation/bin/kestrel")"
}

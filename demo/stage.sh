# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# Sourced by ./run: the sample bundle, the web server, the screen and its user.

stage=$PWD/build/run
records=$stage/records
screenshots=$stage/screenshots
www=$stage/nginx/www
app=$stage/Kestrel.app
processes=()
answers=()
pictures=()
host_window='Kestrel 3.0.0'

give_up() {
  echo "$*" >&2
  exit 1
}

# await CONDITION...: waits until the command succeeds, for twenty seconds at most.
await() {
  local tries=0
  until "$@"; do
    [ $((tries += 1)) -lt 400 ] || return 1
    sleep 0.05
  done
}

is_free() { ! (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# The address is compiled in: the port is kept while it is free, so that nothing is rebuilt.
choose_port() {
  port=$(cat "$stage/port" 2>/dev/null || true)
  [[ $port =~ ^[0-9]+$ ]] || port=18480
  while ! is_free "$port"; do port=$((20000 + RANDOM % 10000)); done
  echo "$port" >"$stage/port"
}

build() { # TARGET...
  echo "Building in $stage/release ..."
  cmake --preset release -B "$stage/release" -DUPDATER_BUILD_TESTS=OFF -DUPDATER_BUILD_TOOLS=ON \
    -DUPDATER_BUILD_EXAMPLES=ON \
    -DUPDATE_BASE_URL="http://127.0.0.1:$port/public/kestrel/update/mac" >"$stage/build.log" 2>&1 &&
    cmake --build "$stage/release" --target "$@" >>"$stage/build.log" 2>&1 ||
    { cat "$stage/build.log"; exit 1; }
}

show_gallery() {
  mkdir -p "$stage"
  choose_port
  build updater_gallery
  "$stage/release/ui/gallery/updater_gallery" ${former:+--against "$former"} "$stage/gallery"
  echo "All pictures at a glance: ${stage#"$PWD/"}/gallery/index.html and contact-sheet.png"
}

lay_out_bundle() {
  cp -R "$stage/release/examples/host-qt/Kestrel.app" "$app"
  cp "$stage/release/app/updater" "$app/Contents/MacOS/updater"
}

# Without a display, uses a virtual one, with a user who answers.
open_screen() {
  [ -z "${DISPLAY-}" ] || return 0
  virtual=yes
  Xvfb -displayfd 3 -screen 0 1024x640x24 -nolisten tcp -noreset 3>"$stage/display" 2>/dev/null &
  processes+=($!)
  await test -s "$stage/display" || give_up 'The virtual screen did not come.'
  DISPLAY=:$(cat "$stage/display")
  export DISPLAY
  display -window root 'xc:#4f6d84' 2>/dev/null || true # a desktop of some colour
}

set_stage() {
  mkdir -p "$stage"
  rm -rf "$records" "$screenshots" "$stage/nginx" "$app" "$stage/display"
  mkdir -p "$records" "$screenshots" "$www"
  temporary=$(mktemp -d)
  mkdir -m 0700 "$temporary/home" "$temporary/tmp" "$temporary/run"
  install -D -m 0600 ui/gallery/fonts.conf "$temporary/home/.config/fontconfig/fonts.conf"
  choose_port
  build updater kestrel
  lay_out_bundle
  virtual=
  open_screen
  echo 'The download page of the newest version.' >"$www/download.html"
  www=$www/public/kestrel/update/mac
  mkdir -p "$www"
}

# The host applications that the updater started are no longer children of this script.
close_hosts() {
  local program
  for program in /proc/[0-9]*/exe; do
    if [ "$(readlink "$program" 2>/dev/null)" = "$app/Contents/MacOS/Kestrel" ]; then
      program=${program%/exe}
      kill "${program#/proc/}" 2>/dev/null || true
    fi
  done
}

strike_stage() {
  local process
  for process in "${processes[@]}"; do
    kill "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
  close_hosts
  rm -rf "${temporary-}"
}

# For the right-hand side of sed's s|||, in nginx's own quotes.
escaped() { printf '%s' "$1" | sed 's/[&|\\]/\\&/g'; }

is_served() { ! is_free "$port"; }

serve() {
  local folder=$stage/nginx
  sed -e "s|@FOLDER@|$(escaped "$folder")|g" -e "s|@PORT@|$port|" -e "s|@RATE@|${rate-0}|" \
    demo/nginx.conf.in >"$folder/nginx.conf"
  nginx -e "$folder/error.log" -p "$folder" -c "$folder/nginx.conf" 2>"$records/nginx" &
  processes+=($!)
  await is_served || give_up "nginx does not serve: $(cat "$records/nginx")"
}

# Runs a program with its own home and nothing of the caller's environment. Run this in the
# background.
in_own_home() { # PROGRAM [ARGUMENT...]
  exec env -i PATH="$PWD/demo:$PATH" HOME="$temporary/home" TMPDIR="$temporary/tmp" \
    XDG_RUNTIME_DIR="$temporary/run" LC_ALL=C.UTF-8 DISPLAY="$DISPLAY" \
    XAUTHORITY="${XAUTHORITY:-$HOME/.Xauthority}" DEMO_RECORDS="$records" \
    "$@"
}

updater() { in_own_home "$app/Contents/MacOS/updater" "$@"; }

host() { in_own_home "$app/Contents/MacOS/Kestrel" "$@"; }

# The host application stays open while its user looks for an update.
open_host() {
  host "$app/Contents/MacOS/updater" no_check >"$records/host-output" 2>"$records/host-messages" &
  processes+=($!)
  await_host_window
}

await_host_window() {
  await_window "$host_window"
  [ -z "$virtual" ] || xdotool windowmove --sync "$window" 72 40 # there is no window manager
}

# The host application that checks on its own; the script waits for it.
start_host() {
  host >"$records/output" 2>"$records/errors" &
  session=$!
  processes+=($session)
  await_host_window
}

start_session() {
  updater "$@" >"$records/output" 2>"$records/errors" &
  session=$!
  processes+=($session)
}

start_second_session() {
  updater >"$records/second-output" 2>"$records/second-errors" &
  second=$!
  processes+=($second)
}

session_log() { cat "$temporary"/home/.com.example.kestrel/Log/*.log 2>/dev/null; }

find_window() { xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | head -n 1; }

shows() { window=$(find_window "$1") && [ -n "$window" ]; }

await_window() {
  await shows "$1" || give_up "The window $1 did not come: $(cat "$records"/*errors)"
}

has_logged_more_than() { [ "$(session_log | wc -l)" != "$1" ]; }

# picture WINDOW: of the screen, once the window is painted.
picture() {
  sleep 0.3
  pictures+=("$screenshots/$scene-$((${#pictures[@]} + 1))-${1%% *}.png")
  import -window root "${pictures[-1]}"
}

# answer WINDOW KEY: as the user would, with a picture taken first.
answer() {
  [ -n "$virtual" ] || return 0
  await_window "$1"
  local lines
  xdotool windowraise "$window"
  picture "$1"
  lines=$(session_log | wc -l)
  xdotool windowfocus --sync "$window" key "$2"
  answers+=("$1: $2")
  await has_logged_more_than "$lines" || give_up "The answer to $1 changed nothing."
}

host_starts() { sed -n 's/^Kestrel: started/Kestrel/p' "$records"/*errors; }

has_started_host() { [ -n "$(host_starts)" ]; }

# await_host: until the host application that the updater starts has its window.
await_host() {
  await has_started_host || give_up 'The host application was not started.'
  await_host_window
  [ -z "$virtual" ] || picture "$host_window"
}

finish_session() {
  code=0
  wait "$session" || code=$?
}

finish_second_session() {
  second_code=0
  wait "$second" || second_code=$?
}

tell_file() { # TITLE FILE
  printf '\n%s\n' "$1"
  if [ -s "$2" ]; then awk '{ print "  " $0 }' "$2"; else echo '  (none)'; fi
}

tell() {
  session_log >"$records/log" || give_up "The session left no log: $(cat "$records/errors")"
  host_starts >"$records/host"
  grep -h '^Kestrel: the updater' "$records/errors" >"$records/told" || true
  printf '\nWhat happened in the scene "%s"\n\nDialogs answered\n' "$scene"
  if [ ${#answers[@]} -gt 0 ]; then printf '  %s\n' "${answers[@]}"
  elif [ -n "$virtual" ]; then echo '  (none)'
  else echo '  (by you: the log shows which answers)'; fi
  if [ ${#pictures[@]} -gt 0 ]; then
    printf '\nPictures\n'
    printf '  %s\n' "${pictures[@]#"$PWD/"}"
  fi
  if [ "$scene" = host ]; then
    tell_file 'The host application read' "$records/told"
    printf '\nExit code of the host application\n  %s\n' "$code"
  else
    tell_file 'Standard output' "$records/output"
    printf '\nExit code\n  %s\n' "$code"
  fi
  [ -z "${second_code-}" ] || printf '\nExit code of the second session\n  %s\n' "$second_code"
  tell_file 'The log' "$records/log"
  [ "$scene" = host ] || tell_file 'The host application was started by the updater as' "$records/host"
  tell_file 'The browser was given' "$records/browser"
}

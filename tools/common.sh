# shellcheck shell=bash
# What the commands share; to be sourced under `set -euo pipefail`. Sets top (the project's folder) and changes into it.

shopt -s inherit_errexit
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$top"
export LANG=C.UTF-8 LC_ALL=C.UTF-8
logs=$top/build/logs
mkdir -p "$logs"

# project_version: the version number, which CMakeLists.txt alone holds.
project_version() { sed -nE 's/^project\(Talvenor VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt; }

step() { printf '\n== %s\n' "$*"; }

# attempt NAME COMMAND [ARG ...]: runs the command with its output in build/logs/NAME.log and leaves its status in
# attempt_status; when it fails, shows the end of that log. Each step of a function that it runs must succeed; so call it
# as a statement of its own: below if, && or || bash would go on behind a failed step.
attempt() {
  local name=$1 begin=$SECONDS
  shift
  rm -f "$logs/$name.log"
  set +e
  (set -e; "$@") >"$logs/$name.log" 2>&1
  attempt_status=$?
  set -e
  if [ $attempt_status = 0 ]; then
    echo "   done in $((SECONDS - begin)) s"
  else
    [ ! -f "$logs/$name.log" ] || tail -n 40 "$logs/$name.log"
    echo "   FAILED (status $attempt_status); the whole output is in build/logs/$name.log"
  fi
}

# logged NAME COMMAND [ARG ...]: as attempt, and ends the script when the command fails.
logged() {
  attempt "$@"
  [ $attempt_status = 0 ] || exit "$attempt_status"
}

# wait_until SECONDS WHAT COMMAND [ARG ...]: asks again and again until the command succeeds; ends the script, naming
# what it waited for, when it does not in time.
wait_until() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@"; do
    if [ $SECONDS -ge $end ]; then
      echo "Waited in vain for $what." >&2
      exit 1
    fi
    sleep 0.05
  done
}

# build_preset NAME [TARGET ...]: configures one preset of CMakePresets.json and builds the targets, or everything.
build_preset() {
  cmake --preset "$1"
  timeout 3600 cmake --build --preset "$1" ${2:+--target "${@:2}"}
}

# pictures_stamp: what the pictures in build/screenshots are of: checksums of the programs of both languages, of the
# library that they show, and of what makes that library, operates the programs and looks at them.
pictures_stamp() {
  local sources
  sources=$(find tools/windowwatch tests/cadserver -type f | LC_ALL=C sort)
  mapfile -t sources <<<"$sources"
  sha256sum build/windows/bin/{talvenor_german.exe,talvenor_english.exe,talvresgerx64.dll,talvresusx64.dll} \
    data/demo-parts.txt data/standard-parts.tsv tools/screenshots tools/demonstration/*.py \
    "${sources[@]}" tools/{common.sh,run-windows}
}

# start_display [SIZE]: starts an X server without a screen, of so many pixels (1600x1200 unless said), and a window
# manager on it, and sets DISPLAY. Ends the script when the server does not start.
start_display() {
  local number
  number=$(mktemp)
  Xvfb -displayfd 1 -screen 0 "${1:-1600x1200}x24" -nolisten tcp >"$number" 2>"$logs/xvfb.log" &
  xvfb=$!
  wait_until 30 "a display (build/logs/xvfb.log says why)" has_display_or_end "$number"
  DISPLAY=:$(cat "$number")
  export DISPLAY
  rm -f "$number"
  openbox >"$logs/openbox.log" 2>&1 &
  manager=$!
}

# has_display_or_end FILE: whether the X server has written its number there; ends the script when the server has ended.
has_display_or_end() {
  [ ! -s "$1" ] || return 0
  kill -0 "$xvfb" 2>/dev/null || { cat "$logs/xvfb.log" >&2; exit 1; }
  return 1
}

# start_window_watch FOLDER PROGRAM: has tools/windowwatch write what windows of the program there are into
# FOLDER/windows.log until end_window_watch FOLDER.
start_window_watch() {
  rm -f "$1/windows.log" "$1/windows.log.stop"
  TALVENOR_TIME_LIMIT=0 tools/run-windows "$(windows_path "$top/build/windowwatch/windowwatch.exe")" \
    "$(windows_path "$1/windows.log")" "$2" >"$logs/windowwatch.log" 2>&1 &
  wait_until 60 "$1/windows.log of the window watcher (build/logs/windowwatch.log)" test -e "$1/windows.log"
}
end_window_watch() { touch "$1/windows.log.stop"; }

# windows_path PATH: an absolute path of this machine as a Windows program under Wine knows it.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# register_library: the registry as an installed library leaves it, and the file-name template of the demonstration.
register_library() {
  tools/run-windows reg add 'HKLM\SOFTWARE\Zelmar\input' /v parts /d 'C:\Zelmar\Normteile' /f
  tools/run-windows reg add 'HKLM\SOFTWARE\Zelmar\input' /v prg /d 'C:\Zelmar' /f
  tools/run-windows reg delete 'HKCU\SOFTWARE\Zelmar\Tools\Talvenor' /f || true # left by an earlier run
  tools/run-windows reg add 'HKCU\SOFTWARE\Zelmar\Tools\Talvenor' /v 'Template Text Column 1' \
    /d "$(python3 -c "import sys; sys.path.insert(0, 'tools/demonstration'); import check; print(check.FILE_TEMPLATE)")" /f
}

# end_display: ends Wine's own server first, whose windows live on the display, then the display.
end_display() {
  [ -n "${xvfb:-}" ] || return 0
  WINEPREFIX=${TALVENOR_PREFIX:-$top/build/prefix} wineserver -k 2>/dev/null || true
  kill ${manager:+"$manager"} "$xvfb" 2>/dev/null || true
}

# shellcheck shell=bash
# Shared by the commands; source it under `set -euo pipefail`. Sets top to the project's folder and changes into it.

shopt -s inherit_errexit
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$top"
export LANG=C.UTF-8 LC_ALL=C.UTF-8
logs=$top/build/logs
mkdir -p "$logs"

# project_version: prints the version number of CMakeLists.txt.
project_version() { sed -nE 's/^project\(Talvenor VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt; }

step() { printf '\n== %s\n' "$*"; }

# attempt NAME COMMAND [ARG ...]: runs the command, writes its output to build/logs/NAME.log and sets attempt_status to
# its exit status. When it fails, shows the end of the log. Never call this in a condition (if, &&, ||): bash would then
# ignore "set -e" inside COMMAND, if it is a function.
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

# logged NAME COMMAND [ARG ...]: like attempt, but ends the script when the command fails.
logged() {
  attempt "$@"
  [ $attempt_status = 0 ] || exit "$attempt_status"
}

# wait_until SECONDS WHAT COMMAND [ARG ...]: repeats the command until it succeeds. After SECONDS, prints WHAT the
# script waited for and ends the script.
wait_until() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@"; do
    if [ $SECONDS -ge $end ]; then
      echo "Timed out waiting for $what." >&2
      exit 1
    fi
    sleep 0.05
  done
}

# build_preset NAME [TARGET ...]: configures a preset of CMakePresets.json and builds the targets (default: all).
build_preset() {
  cmake --preset "$1"
  timeout 3600 cmake --build --preset "$1" ${2:+--target "${@:2}"}
}

# pictures_stamp: prints checksums of everything that the screenshots depend on: the programs of both languages, the
# part library that they show, the tools that make it, and the tools that operate the programs and take the pictures; and
# the versions of Wine, its fonts and the window manager.
pictures_stamp() {
  local sources
  dpkg-query --show '*wine*' 'fonts-*' openbox
  sources=$(find tools/lib/windowwatch tests/cadserver tests/support -type f | LC_ALL=C sort)
  mapfile -t sources <<<"$sources"
  sha256sum build/windows/bin/{talvenor_german.exe,talvenor_english.exe,talvresgerx64.dll,talvresusx64.dll} \
    data/demo-parts.txt data/standard-parts.tsv tools/screenshots tools/lib/demonstration/*.py \
    "${sources[@]}" tools/{lib/common.sh,run-windows}
}

# start_display [WIDTHxHEIGHT]: starts a virtual X display (default: 1600x1200 pixels) with a window manager, and sets
# DISPLAY. Ends the script when the X server does not start.
start_display() {
  local number
  number=$(mktemp)
  Xvfb -displayfd 1 -screen 0 "${1:-1600x1200}x24" -nolisten tcp >"$number" 2>"$logs/xvfb.log" &
  xvfb=$!
  wait_until 30 "a display (see build/logs/xvfb.log)" has_display_or_end "$number"
  DISPLAY=:$(cat "$number")
  export DISPLAY
  rm -f "$number"
  openbox >"$logs/openbox.log" 2>&1 &
  manager=$!
}

# has_display_or_end FILE: whether the X server has written its display number to FILE. Ends the script when the server
# has died.
has_display_or_end() {
  [ ! -s "$1" ] || return 0
  kill -0 "$xvfb" 2>/dev/null || { cat "$logs/xvfb.log" >&2; exit 1; }
  return 1
}

# start_window_watch FOLDER PROGRAM: starts tools/lib/windowwatch, which logs the program's windows in FOLDER/windows.log
# until end_window_watch FOLDER is called.
start_window_watch() {
  rm -f "$1/windows.log" "$1/windows.log.stop"
  TALVENOR_TIME_LIMIT=0 tools/run-windows "$(windows_path "$top/build/windowwatch/windowwatch.exe")" \
    "$(windows_path "$1/windows.log")" "$2" >"$logs/windowwatch.log" 2>&1 &
  wait_until 60 "the log of tools/lib/windowwatch, $1/windows.log (see build/logs/windowwatch.log)" test -e "$1/windows.log"
}
end_window_watch() { touch "$1/windows.log.stop"; }

# windows_path PATH: prints an absolute path of this machine as Windows programs under Wine see it.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# register_library: sets the registry values of an installed library and the file-name template of the demonstration.
register_library() {
  tools/run-windows reg add 'HKLM\SOFTWARE\Zelmar\input' /v parts /d 'C:\Zelmar\Normteile' /f
  tools/run-windows reg add 'HKLM\SOFTWARE\Zelmar\input' /v prg /d 'C:\Zelmar' /f
  tools/run-windows reg delete 'HKCU\SOFTWARE\Zelmar\Tools\Talvenor' /f || true # from an earlier run
  tools/run-windows reg add 'HKCU\SOFTWARE\Zelmar\Tools\Talvenor' /v 'Template Text Column 1' \
    /d "$(python3 -c "import sys; sys.path.insert(0, 'tools/lib/demonstration'); import check; print(check.FILE_TEMPLATE)")" /f
}

# end_display: ends wineserver, and with it the Windows programs, whose windows are on the display; then ends
# the window manager and the display.
end_display() {
  [ -n "${xvfb:-}" ] || return 0
  WINEPREFIX=${TALVENOR_PREFIX:-$top/build/prefix} wineserver -k 2>/dev/null || true
  kill ${manager:+"$manager"} "$xvfb" 2>/dev/null || true
}

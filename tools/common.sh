# What the commands share; to be sourced. Sets top (the project's folder) and changes into it.

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$top"
export LANG=C.UTF-8 LC_ALL=C.UTF-8
logs=$top/build/logs
mkdir -p "$logs"

# project_version: the version number, which CMakeLists.txt alone holds.
project_version() { sed -nE 's/^project\(Talvenor VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt; }

step() { printf '\n== %s\n' "$*"; }

# logged NAME COMMAND [ARG ...]: runs the command with its output in build/logs/NAME.log; when it fails, shows
# the end of that log and returns the command's status.
logged() {
  local name=$1 status=0 begin=$SECONDS
  shift
  "$@" >"$logs/$name.log" 2>&1 || status=$?
  if [ $status = 0 ]; then
    echo "   done in $((SECONDS - begin)) s"
  else
    tail -n 40 "$logs/$name.log"
    echo "   FAILED (status $status); the whole output is in build/logs/$name.log"
  fi
  return $status
}

# build_preset NAME [TARGET ...]: configures one preset of CMakePresets.json and builds the targets, or everything.
build_preset() { cmake --preset "$1" && cmake --build --preset "$1" ${2:+--target "${@:2}"}; }

# build_windowwatch: builds the demonstration's eye, which is a project of its own.
build_windowwatch() {
  cmake -S tools/windowwatch -B build/windowwatch -G Ninja --toolchain "$top/cmake/mingw-w64.cmake" \
    -DCMAKE_BUILD_TYPE=Release && cmake --build build/windowwatch
}

# pictures_stamp: what the pictures in build/screenshots are of: checksums of the programs of both languages, of the
# library that they show, and of what makes that library, operates the programs and looks at them.
pictures_stamp() {
  sha256sum build/windows/bin/{talvenor_german.exe,talvenor_english.exe,talvresgerx64.dll,talvresusx64.dll} \
    data/demo-parts.txt data/standard-parts.tsv tools/screenshots tools/demonstration/*.py \
    $(find tools/windowwatch tests/cadserver -type f | LC_ALL=C sort) tools/{common.sh,run-windows}
}

# start_display [SIZE]: starts an X server without a screen, of so many pixels (1600x1200 unless said), and a window
# manager on it, and sets DISPLAY.
start_display() {
  local number
  number=$(mktemp)
  Xvfb -displayfd 1 -screen 0 "${1:-1600x1200}x24" -nolisten tcp >"$number" 2>"$logs/xvfb.log" &
  xvfb=$!
  until [ -s "$number" ]; do
    kill -0 $xvfb || { cat "$logs/xvfb.log"; return 1; }
    sleep 0.05
  done
  export DISPLAY=:$(cat "$number")
  rm -f "$number"
  openbox >/dev/null 2>&1 &
  manager=$!
}

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
  kill "$manager" "$xvfb" 2>/dev/null || true
}

#!/usr/bin/env bash
# Runs windows_tests on its own display and in its own Wine prefix: run.sh PROGRAM [ARG ...]
#
# There is no window manager on this display: a window manager, or a window left by another test, could take the focus
# from a control during a test.
# When root starts the tests, the tests run without root's power over file permissions. So they cannot write to
# read-only files.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
unset DISPLAY
export TALVENOR_UNMANAGED=1 TALVENOR_PREFIX=${TALVENOR_PREFIX:-$top/build/prefix-in-process}
as_user=()
if [ "$(id -u)" = 0 ]; then
  power=-dac_override,-dac_read_search
  as_user=(setpriv --bounding-set="$power" --inh-caps="$power")
fi
"${as_user[@]}" "$top/tools/run-windows" "$@"

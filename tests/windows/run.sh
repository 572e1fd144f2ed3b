#!/usr/bin/env bash
# Runs windows_tests on a display and in a Wine prefix of their own: run.sh PROGRAM [ARG ...]
#
# A window manager, or a window that another test has left, may take the focus from a control in the middle of a test.
# When root starts them, they run without root's power over file permissions, so that read-only files are read-only.
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

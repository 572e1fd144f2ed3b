#!/usr/bin/env bash
# Runs windows_tests on its own display and in its own Wine prefix: run.sh PROGRAM [ARG ...]
#
# The display is not shared and has no window manager: a window left by another test, or a window manager,
# could take the focus from a control during a test.
# When root starts the tests, they run without root's power over file permissions: some tests need files that
# they cannot write to.
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

#!/usr/bin/env bash
# Runs fault_tests with file systems that they cannot make under Wine: run.sh PROGRAM [ARG ...]
#
# It provides a small file system that can be filled, a read-only "Mapped" folder, and a folder of 50,000
# part files and their copies, which Wine would take a long time to create. A user who may not mount file
# systems gets a user namespace of their own. If the machine does not allow that either, the tests that need
# these file systems are skipped.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/../.." && pwd)
export WINEPREFIX=${TALVENOR_PREFIX:-$top/build/prefix}
# A wineserver inside the namespace and one outside would use the same prefix, but programs on one side could not connect
# to the server on the other. So each server ends before the other starts.
end_wine() {
  wineserver -k || true # may have ended by itself
  timeout 60 wineserver -w || true # if it does not end, go on; finish then only detaches the mounts
}
if ! unshare --mount true 2>/dev/null && unshare --user --map-root-user --mount true 2>/dev/null; then
  end_wine
  exec unshare --user --map-root-user --mount "$here/run.sh" "$@"
fi
work=$(mktemp -d)
finish() {
  local mounted
  end_wine
  for mounted in "$work/read-only/Mapped" "$work/small"; do
    if mountpoint -q "$mounted"; then umount "$mounted" || umount -l "$mounted"; fi
  done
  rm -rf "$work"
}
trap finish EXIT
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

mkdir -p "$work/small" "$work/read-only/Mapped" "$work/many/Mapped"
if mount -t tmpfs -o size=4m talvenor-faults "$work/small"; then
  TALVENOR_SMALL_DISK=$(windows_path "$work/small")
  export TALVENOR_SMALL_DISK
fi
if mount -t tmpfs -o size=64k,ro talvenor-faults "$work/read-only/Mapped"; then
  TALVENOR_READ_ONLY_MAPPED=$(windows_path "$work/read-only")
  export TALVENOR_READ_ONLY_MAPPED
fi
(cd "$work/many" && seq -f 'N_%.0f_M8.sldprt' 50000 | xargs touch)
(cd "$work/many/Mapped" && seq -f 'neu N_%.0f_M8.sldprt' 50000 | xargs -d '\n' touch)
TALVENOR_MANY_FILES=$(windows_path "$work/many")
export TALVENOR_MANY_FILES
"$top/tools/run-windows" "$@"

#!/usr/bin/env bash
# Runs fault_tests with what only the machine around Wine can give them: run.sh PROGRAM [ARG ...]
#
# A small file system that can be filled and a "Mapped" folder that nobody may write, when this user may mount file
# systems (the tests that want them are skipped otherwise), and a folder of 50,000 part files and their copies, which
# Wine itself would take long to make.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
finish() {
  for mounted in "$work/read-only/Mapped" "$work/small"; do
    mountpoint -q "$mounted" && { umount "$mounted" || umount -l "$mounted"; }
  done
  rm -rf "$work"
}
trap finish EXIT
windows_path() { printf 'Z:%s' "${1//\//\\}"; }
mount_small() { mount -t tmpfs -o "$1" talvenor-faults "$2" 2>/dev/null; }

mkdir -p "$work/small" "$work/read-only/Mapped" "$work/many/Mapped"
if mount_small size=4m "$work/small"; then
  export TALVENOR_SMALL_DISK=$(windows_path "$work/small")
fi
if mount_small size=64k,ro "$work/read-only/Mapped"; then
  export TALVENOR_READ_ONLY_MAPPED=$(windows_path "$work/read-only")
fi
(cd "$work/many" && seq -f 'N_%.0f_M8.sldprt' 50000 | xargs touch)
(cd "$work/many/Mapped" && seq -f 'neu N_%.0f_M8.sldprt' 50000 | xargs -d '\n' touch)
export TALVENOR_MANY_FILES=$(windows_path "$work/many")
"$here/../../tools/run-windows" "$@"

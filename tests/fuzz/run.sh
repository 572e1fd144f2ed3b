#!/usr/bin/env bash
# Runs a fuzz target and passes only when it ends well and says that it made all its runs: run.sh RUNS TARGET [ARG ...]
set -euo pipefail
runs=$1
shift
output=$(mktemp)
trap 'rm -f "$output"' EXIT
"$@" "-runs=$runs" 2>&1 | tee "$output"
grep -q "^Done $runs runs" "$output"

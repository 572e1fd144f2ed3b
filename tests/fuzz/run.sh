#!/usr/bin/env bash
# Runs a fuzz target: run.sh RUNS TARGET [ARG ...]. Succeeds only if the target succeeds and reports all RUNS as done.
set -euo pipefail
runs=$1
shift
output=$(mktemp)
trap 'rm -f "$output"' EXIT
"$@" "-runs=$runs" 2>&1 | tee "$output"
grep -q "^Done $runs runs" "$output"

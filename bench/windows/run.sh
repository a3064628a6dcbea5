#!/bin/sh
# Runs the Windows benchmarks of a mingw build under Wine, in a prefix of their own.
#   bench/windows/run.sh [build/mingw]
set -e
build=$(realpath "${1:-build/mingw}")
prefix=$(mktemp -d)
trap 'WINEPREFIX=$prefix wineserver -k 2>/dev/null; rm -rf "$prefix"' EXIT
WINEPREFIX=$prefix WINEDEBUG=-all wineboot -i >/dev/null 2>&1
for program in "$build"/bench/*.exe; do
    echo "== $(basename "$program")"
    WINEPREFIX=$prefix WINEDEBUG=-all wine "$program"
done

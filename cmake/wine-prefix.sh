#!/bin/sh
# setup: a fresh Wine prefix for one test run, with a server that stays up until cleanup, so
# that each test program pays only Wine's process start. cleanup: the server ends.
set -e
export WINEPREFIX="$2" WINEDEBUG=-all
case "$1" in
setup)
    wineserver -k 2>/dev/null || true
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    wineserver -p </dev/null >/dev/null 2>&1
    wineboot -i >/dev/null 2>&1
    ;;
cleanup)
    wineserver -k 2>/dev/null || true ;;
esac

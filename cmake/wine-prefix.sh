#!/bin/sh
# setup: a fresh Wine prefix for one test run, an X server for the programs that need a desktop,
# and a Wine server that stays up until cleanup, so that each test program pays only Wine's
# process start. cleanup: both servers end.
set -e
# No Mono or Gecko: nothing here needs them, and their installers would ask on the X server.
export WINEPREFIX="$2" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
case "$1" in
setup)
    "$0" cleanup "$2"
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    exec 3>"$WINEPREFIX/display"
    Xvfb -displayfd 3 -screen 0 800x600x24 -nolisten tcp </dev/null >/dev/null 2>&1 &
    echo $! >"$WINEPREFIX/xvfb.pid"
    for _ in $(seq 50); do [ -s "$WINEPREFIX/display" ] && break; sleep 0.1; done
    export DISPLAY=":$(cat "$WINEPREFIX/display")"
    wineserver -p </dev/null >/dev/null 2>&1
    wineboot -i >/dev/null 2>&1 ;;
cleanup)
    wineserver -k 2>/dev/null || true
    [ -f "$WINEPREFIX/xvfb.pid" ] && kill "$(cat "$WINEPREFIX/xvfb.pid")" 2>/dev/null || true ;;
esac

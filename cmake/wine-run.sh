#!/bin/sh
# Runs a Windows program in the prefix and on the X server that wine-prefix.sh made.
export WINEPREFIX="$1" WINEDEBUG=-all
shift
[ -s "$WINEPREFIX/display" ] && export DISPLAY=":$(cat "$WINEPREFIX/display")"
exec wine "$@"

#!/usr/bin/env bash
# Installs the Debian packages that building and running the program need (scripts/run.sh);
#   install-deps.sh package   adds what making the Debian package needs (scripts/package.sh);
#   install-deps.sh test      adds everything the tests, the fuzzing, the Windows cross build and
#                             the benchmarks need (scripts/test.sh, scripts/bench.sh, CI).
# A library the build links belongs in BUILD, not only in TEST.
set -euo pipefail
BUILD=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools libgl-dev
  libsdl2-dev libsdl2-mixer-dev
  libx11-dev libxtst-dev
  libsystemd-dev
  qt6-httpserver-dev qt6-websockets-dev libqrencode-dev
  libmosquitto-dev
  xvfb xauth
)
PACKAGE=(file)
TEST=(
  git
  googletest libgtest-dev libgmock-dev
  clang-14 libclang-rt-14-dev
  g++-mingw-w64-x86-64
  xvfb xauth x11-utils xdotool imagemagick trayer
  dbus dbus-x11 mpv mpv-mpris sox libsox-fmt-mp3
  at-spi2-core python3-pyatspi
  lirc lirc-compat-remotes
  chromium python3-websocket
  mosquitto mosquitto-clients
  lintian desktop-file-utils appstream
  wine wine64
)
case "${1:-}" in
  "") PKGS=("${BUILD[@]}") ;;
  package) PKGS=("${BUILD[@]}" "${PACKAGE[@]}") ;;
  test) PKGS=("${BUILD[@]}" "${PACKAGE[@]}" "${TEST[@]}") ;;
  *) echo "usage: install-deps.sh [package|test]" >&2; exit 2 ;;
esac
SUDO=""
if [ "$(id -u)" != 0 ]; then SUDO="sudo"; fi
missing=()
for p in "${PKGS[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

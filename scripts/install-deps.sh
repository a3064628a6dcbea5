#!/usr/bin/env bash
# Installs every Debian package the build, the program and the tests need.
set -euo pipefail
PKGS=(
  build-essential cmake ninja-build pkg-config git
  qt6-base-dev qt6-base-dev-tools libgl-dev
  libsdl2-dev libsdl2-mixer-dev
  libx11-dev libxtst-dev
  libsystemd-dev
  googletest libgtest-dev libgmock-dev
  clang-14 libclang-rt-14-dev
  g++-mingw-w64-x86-64
  xvfb xauth x11-utils xdotool imagemagick trayer
  dbus dbus-x11 mpv mpv-mpris sox libsox-fmt-mp3
  at-spi2-core python3-pyatspi
  lirc lirc-compat-remotes
  qt6-httpserver-dev qt6-websockets-dev libqrencode-dev chromium python3-websocket
  mosquitto mosquitto-clients libmosquitto-dev
  wine wine64
)
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

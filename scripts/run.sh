#!/usr/bin/env bash
# Installs what the program needs to build and run (not the test tools), builds it and starts it
# from its program folder.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset default -DQUENIX_TESTS=OFF >/dev/null
cmake --build --preset default
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "No display found: starting under a virtual X server (xvfb-run)."
    exec xvfb-run -a build/default/bin/quenix
fi
exec build/default/bin/quenix

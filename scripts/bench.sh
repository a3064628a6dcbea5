#!/usr/bin/env bash
# Builds the release programs and prints every benchmark's table.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh test
cmake --preset default >/dev/null
cmake --build --preset default
for b in build/default/bench/*; do
    [ -f "$b" ] && [ -x "$b" ] || continue
    echo "== $(basename "$b")"
    "$b"
    echo
done

#!/usr/bin/env bash
# Renders the hicolor PNG sizes from quenix.svg (needs rsvg-convert, Debian's librsvg2-bin).
# The PNGs are committed, so building the package needs no renderer.
set -euo pipefail
cd "$(dirname "$0")"
for size in 16 22 24 32 48 64 128 256; do
    rsvg-convert -w "$size" -h "$size" quenix.svg -o "quenix-$size.png"
done

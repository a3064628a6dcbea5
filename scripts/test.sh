#!/usr/bin/env bash
# Installs what the tests need, builds under AddressSanitizer and UndefinedBehaviorSanitizer,
# fuzzes the configuration store for a bounded time, cross-builds the core for Windows, and
# runs every test. The last lines are ctest's summary.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh

# Fuzzing: a minute on a copy of the small committed corpus.
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
work=build/fuzz/corpus-work
# The shipped configuration is the main seed; the corpus folder adds the odd cases.
rm -rf "$work" && mkdir -p "$work" && cp tests/fuzz/corpus/* "$work"/ && cp data/telvorin.cfg "$work"/shipped.cfg
build/fuzz/bin/config_fuzz -max_total_time="${QUENIX_FUZZ_SECONDS:-60}" -max_len=4096 -print_final_stats=1 \
    "$work" 2>&1 | tail -n 12

# Windows: the core and the capture library must compile with mingw-w64.
cmake --preset mingw >/dev/null
cmake --build --preset mingw

cmake --preset asan >/dev/null
cmake --build --preset asan
ctest --preset asan -j2

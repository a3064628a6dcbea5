#!/usr/bin/env bash
# Installs what the tests need, builds under AddressSanitizer and UndefinedBehaviorSanitizer,
# fuzzes every outside input for a bounded time, cross-builds the core for Windows, and
# runs every test. The last lines are ctest's summary.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh test

# Fuzzing: every target in turn on a copy of its small committed corpus, within a few minutes
# together; a crash, a leak or an input that runs longer than the time-out fails the run.
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
for target in config capture pulse_text mode2 import lircd_conf lircd_socket phone x10 events codes ico; do
    work=build/fuzz/corpus-work/$target
    rm -rf "$work" && mkdir -p "$work"
    cp tests/fuzz/corpus/"$target"/* "$work"/ 2>/dev/null || true
    # The shipped configuration seeds the targets that read whole files.
    case $target in config | import) cp data/telvorin.cfg "$work"/shipped.cfg ;; esac
    # LIRC's own remote files, where its package put them, seed the lircd.conf reader.
    if [ "$target" = lircd_conf ] && [ -d /usr/share/lirc/remotes ]; then
        find /usr/share/lirc/remotes -name 'lircd.conf*' -size -4k | sort | head -n 30 |
            while read -r f; do cp "$f" "$work/$(echo "$f" | tr / _)"; done
    fi
    TMPDIR=/dev/shm build/fuzz/bin/${target}_fuzz -max_total_time="${QUENIX_FUZZ_SECONDS:-20}" -timeout=10 -max_len=4096 -artifact_prefix=build/fuzz/ \
        -print_final_stats=1 "$work" >build/fuzz/$target.log 2>&1 || { tail -n 40 build/fuzz/$target.log; exit 1; }
    echo "$target: $(grep -o 'stat::number_of_executed_units: *[0-9]*' build/fuzz/$target.log | grep -o '[0-9]*$') runs"
done

# Windows: the core, the capture library, the tool and their tests cross-built with mingw-w64
# and run under Wine; its summary is printed here, the rest of the run goes on either way.
cmake --preset mingw >/dev/null
cmake --build --preset mingw
mingw_status=0
ctest --preset mingw -j2 2>&1 | tail -n 25 || mingw_status=$?

cmake --preset asan >/dev/null
cmake --build --preset asan
ctest --preset asan -j2
exit "$mingw_status"

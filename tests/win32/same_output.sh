#!/bin/bash
# quenix-ir.exe under Wine against the build machine's quenix-ir: the same output and exit
# status for the same standard input.   same_output.sh LINUX_TOOL EMULATOR... WINDOWS_TOOL
set -u
linux=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# $1: the input, the rest: the arguments. The Linux output stays in $out for the next input.
same() {
    printf '%s' "$1" >"$work/in"
    shift
    "$linux" "$@" <"$work/in" >"$work/linux" 2>&1
    echo "exit $?" >>"$work/linux"
    "${windows[@]}" "$@" <"$work/in" >"$work/windows" 2>&1
    echo "exit $?" >>"$work/windows"
    cmp -s "$work/linux" "$work/windows" || { echo "quenix-ir $* differs:"; diff <(cat -A "$work/linux") <(cat -A "$work/windows") | head -n 20; failed=1; }
    out=$(sed '$d' "$work/linux")
}
windows=("$@")

for format in cells packed mode2; do
    for args in "NEC --code G0010000011011111" "SONY --code G1010100100001000" "RC5 --code G11010000001100" \
        "CUSTOM --code G0010000011011111 --sendpls 550 --repeat 2"; do
        # shellcheck disable=SC2086
        same "" encode --protocol $args --format $format
        [ $format = mode2 ] && same "$out" decode -
    done
done
same "$(head -c 600 /dev/zero | tr '\0' '\252')" decode --packed -
same "" encode --protocol NEC --code 10x1
exit $failed

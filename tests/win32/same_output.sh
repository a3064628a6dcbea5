#!/bin/bash
# quenix-ir.exe under Wine against the build machine's quenix-ir: the same output, the same
# exit status, for the same input on standard input.
#   same_output.sh LINUX_TOOL EMULATOR... WINDOWS_TOOL
set -u
linux=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# $1: the input, the rest: the arguments. Leaves the Linux output in $work/out for the next input.
same() {
    local input=$1
    shift
    printf '%s' "$input" >"$work/in"
    "$linux" "$@" <"$work/in" >"$work/linux" 2>"$work/linux.err"
    echo "exit $?" >>"$work/linux"
    "${windows[@]}" "$@" <"$work/in" >"$work/windows" 2>"$work/windows.err"
    echo "exit $?" >>"$work/windows"
    if ! cmp -s "$work/linux" "$work/windows" || ! cmp -s "$work/linux.err" "$work/windows.err"; then
        echo "quenix-ir $* differs:"
        diff <(cat -A "$work/linux" "$work/linux.err") <(cat -A "$work/windows" "$work/windows.err") | head -n 20
        failed=1
    fi
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
same "pulse 9000
space 4500
pulse 560
" decode --period 50 -
same "$(head -c 600 /dev/zero | tr '\0' '\252')" decode --packed -
same "" encode --protocol NEC --code 10x1
same "" frobnicate
exit $failed

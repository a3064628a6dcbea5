#!/usr/bin/env bash
# Makes the Debian package from a build tree, checks it with the distribution's own tools, unpacks
# it into a scratch root and starts its menu entry's command there as a user who cannot write the
# program's folders (root could, and would hide a program that writes beside itself): the settings
# must appear in the user's configuration folder.
set -euo pipefail
for tool in cpack lintian desktop-file-validate appstreamcli Xvfb xdotool setpriv; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool missing"; exit 77; }
done
work=$(mktemp -d)
trap 'kill "${app:-}" "${xvfb:-}" 2>/dev/null || true; rm -rf "$work"' EXIT
chmod 755 "$work"
cpack --config "$1/CPackConfig.cmake" -B "$work/out" -D CPACK_DEBIAN_COMPRESSION_TYPE=gzip >"$work/cpack.log" ||
    { cat "$work/cpack.log"; exit 1; }
deb=$(ls "$work"/out/quenix_*_"$(dpkg --print-architecture)".deb)
lintian --fail-on error "$deb"
root=$work/root
dpkg-deb -x "$deb" "$root"
desktop=$root/usr/share/applications/org.quenix_remote.Quenix.desktop
desktop-file-validate "$desktop"
appstreamcli validate --no-net "$root"/usr/share/metainfo/*.metainfo.xml
grep -q 'SUBSYSTEM=="lirc".*TAG+="uaccess"' "$root"/usr/lib/udev/rules.d/*.rules
ls "$root"/usr/lib/*/quenix/libserpulse.so "$root"/usr/lib/*/quenix/libquenix-{sdl-audio,mpris,xtest,mqtt,web}.so \
    "$root"/usr/share/quenix/help/index.html "$root"/usr/share/man/man1/quenix-ir.1.gz

read -r -a command <<<"$(sed -n 's/^Exec=//p' "$desktop")"
command[0]=$root/usr/bin/${command[0]}
home=$work/home
mkdir "$home"
as_user=()
[ "$(id -u)" != 0 ] || { chown nobody "$home" && as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups); }
Xvfb -displayfd 3 -ac -nolisten tcp 3>"$work/display" >/dev/null 2>&1 &
xvfb=$!
for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$work/display")
# The web remote on: its module must load from where the package put it.
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
env -i PATH=/usr/bin:/bin HOME="$home" DISPLAY="$DISPLAY" ASAN_OPTIONS=detect_leaks=0 QUENIX_WEB=127.0.0.1:$port \
    "${as_user[@]}" "${command[@]}" >"$work/app.log" 2>&1 &
app=$!
for _ in $(seq 150); do
    xdotool search --onlyvisible --name "^Orvel's Quenix Remote Manager" >/dev/null 2>&1 && break
    kill -0 "$app" 2>/dev/null || break
    sleep 0.2
done
xdotool search --onlyvisible --name "^Orvel's" >/dev/null || { echo "no main window"; cat "$work/app.log"; exit 1; }
cmp "$home/.config/quenix/telvorin.cfg" "$root/usr/share/quenix/telvorin.cfg"
exec 4<>"/dev/tcp/127.0.0.1/$port"
printf 'GET / HTTP/1.0\r\n\r\n' >&4
read -r status <&4
exec 4<&-
# Unpaired, the server answers "Pair first": it is up.
case $status in HTTP/1.1\ 403*) ;; *) echo "the web remote answered: $status"; cat "$work/app.log"; exit 1 ;; esac
touch "$work/marker" && sleep 0.1 # past the file system clock's tick
kill -TERM "$app"
wait "$app" || { echo "exit status $?"; cat "$work/app.log"; exit 1; }
# The exit saved the user's file, and nothing beside the program.
test -n "$(find "$home/.config/quenix/telvorin.cfg" -newer "$work/marker")"
test -z "$(find "$root" -newer "$deb" -type f)"

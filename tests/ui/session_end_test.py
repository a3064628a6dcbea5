#!/usr/bin/python3
"""A logout's SIGTERM ends the real program within a second, also while start-up's box about a broken
configuration waits for an answer, and leaves the broken file for the user to mend.
session_end_test.py PROGRAM; 77 (skipped) without Xvfb and xdotool."""
import os, shutil, signal, subprocess, sys, tempfile, time
from atspi_test import on_own_display, wait_for

BROKEN = b"[General]\r\nCOMPORT= 1\r\n[End]\r\n"  # every other key missing


def inner(program):
    env = dict(os.environ, QT_QPA_PLATFORM="xcb", ASAN_OPTIONS="detect_leaks=0", SDL_AUDIODRIVER="dummy")
    app = subprocess.Popen([program], env=env)
    try:
        box = ["xdotool", "search", "--onlyvisible", "--name", "^ZVK$"]
        wait_for(lambda: subprocess.run(box, capture_output=True).returncode == 0, "the error box")
        start = time.monotonic()
        app.send_signal(signal.SIGTERM)
        app.wait(10)
        assert time.monotonic() - start < 1, "ended %.1f s after SIGTERM" % (time.monotonic() - start)
        return print("1 passed, 0 failed") or 0
    finally:
        app.kill() if app.poll() is None else None


def outer(program):
    if not (shutil.which("Xvfb") and shutil.which("xdotool")):
        return print("skipped: no Xvfb or xdotool") or 77
    folder = tempfile.mkdtemp(prefix="quenix-term-")
    try:
        shutil.copy2(program, folder)
        config = os.path.join(folder, "telvorin.cfg")
        open(config, "wb").write(BROKEN)
        rc = on_own_display([sys.executable, __file__, "--inner", os.path.join(folder, os.path.basename(program))])
        assert open(config, "rb").read() == BROKEN, "the broken configuration was written over"
        return rc
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    sys.exit(inner(sys.argv[2]) if sys.argv[1] == "--inner" else outer(sys.argv[1]))

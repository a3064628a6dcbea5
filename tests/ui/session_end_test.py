#!/usr/bin/python3
"""Under xvfb-run: a logout's SIGTERM ends the real program within a second, also while start-up's box
about a broken configuration waits, and leaves that file for the user to mend. session_end_test.py PROGRAM"""
import os, shutil, signal, subprocess, sys, tempfile, time
from atspi_test import wait_for

BROKEN = b"[General]\r\nCOMPORT= 1\r\n[End]\r\n"  # every other key missing
folder, app = tempfile.mkdtemp(prefix="quenix-term-"), None
try:
    config = os.path.join(folder, "telvorin.cfg")
    open(config, "wb").write(BROKEN)
    env = dict(os.environ, QT_QPA_PLATFORM="xcb", ASAN_OPTIONS="detect_leaks=0", SDL_AUDIODRIVER="dummy")
    app = subprocess.Popen([shutil.copy2(sys.argv[1], folder)], env=env)
    box = ["xdotool", "search", "--onlyvisible", "--name", "^ZVK$"]
    wait_for(lambda: subprocess.run(box, capture_output=True).returncode == 0, "the error box")
    start = time.monotonic()
    app.send_signal(signal.SIGTERM)
    app.wait(10)
    assert time.monotonic() - start < 1, "ended %.1f s after SIGTERM" % (time.monotonic() - start)
    assert open(config, "rb").read() == BROKEN, "the broken configuration was written over"
    print("1 passed, 0 failed")
finally:
    app.kill() if app and app.poll() is None else None
    shutil.rmtree(folder)

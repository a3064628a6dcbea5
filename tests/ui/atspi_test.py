#!/usr/bin/python3
"""The real program, in a copy of its folder on its own X server and session bus, driven through its
accessibility tree as a screen reader drives it. atspi_test.py PROGRAM CONFIG; 77 (skipped) without the tools."""
import importlib.util, os, shutil, subprocess, sys, tempfile, time

TITLE = "Orvel's Quenix Remote Manager v"
# Spoken as the window shows them: a button's caption, a field's label, a check box's text.
SHOWN = ["Record", "Send", "Save", "Delete", "Compact", "Reset", "Code", "Pulse (us)", "Serial port",
         "TxD output", "IrDA output", "Beep on keys"]


def wait_for(probe, what, seconds=30):
    end = time.time() + seconds
    while not (found := probe()) and time.time() < end:
        time.sleep(0.2)
    assert found, "timed out waiting for " + what
    return found


def tree(node):
    yield node
    for child in filter(None, (node.getChildAtIndex(i) for i in range(node.childCount))):
        yield from tree(child)


def inner(program):
    import pyatspi
    config = os.path.join(os.path.dirname(program), "telvorin.cfg")
    beep_on = lambda: "BEEPON= 1\r\n" in open(config, newline="").read()
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb",
               ASAN_OPTIONS="detect_leaks=0", SDL_AUDIODRIVER="dummy")
    app = subprocess.Popen([program], env=env)
    try:
        desktop = pyatspi.Registry.getDesktop(0)
        frame = wait_for(lambda: app.poll() is not None or next((n for n in tree(desktop) if n.getRole() ==
                         pyatspi.ROLE_FRAME and n.name.startswith(TITLE)), None), "the main window")
        if app.poll() is not None:
            return 3  # it could not reach the X server: another may have taken the display
        nodes = list(tree(frame))
        missing = [name for name in SHOWN if name not in {n.name for n in nodes}]
        assert not missing, "not spoken as shown: %s" % missing

        beep = next(n for n in nodes if n.getRole() == pyatspi.ROLE_CHECK_BOX and n.name == "Beep on keys")
        action = beep.queryAction()
        names = [action.getName(i).lower() for i in range(action.nActions)]
        assert "toggle" in names, "Beep on keys offers %s" % names
        before = beep_on()
        action.doAction(names.index("toggle"))
        wait_for(lambda: beep_on() != before, "BEEPON written")
        # A new title reaches the reader as the window's new name.
        next(n for n in nodes if n.name == "Compact").queryAction().doAction(0)
        wait_for(lambda: frame.name.startswith("KPL Send Mgr v"), "the compact window's name")

        app.terminate()  # the session ends: the program leaves as its Exit does
        assert app.wait(20) == 0, "exit status %s after SIGTERM" % app.returncode
        return print("1 passed, 0 failed") or 0
    finally:
        app.kill() if app.poll() is None else None


def on_own_display(command):
    # Xvfb picks a free display itself: other tests may run X servers at the same time.
    read, write = os.pipe()
    xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                            pass_fds=[write], stderr=subprocess.DEVNULL)
    os.close(write)
    try:
        display = os.read(read, 16).decode().strip()
        return subprocess.call(command, env=dict(os.environ, DISPLAY=":" + display), timeout=120)
    finally:
        xvfb.terminate()
        xvfb.wait()


def outer(program, config):
    missing = [t for t in ("Xvfb", "dbus-run-session", "/usr/libexec/at-spi-bus-launcher") if not shutil.which(t)]
    if missing or not importlib.util.find_spec("pyatspi"):
        print("skipped: no " + ", ".join(missing or ["pyatspi"]))
        return 77
    folder, source = tempfile.mkdtemp(prefix="quenix-atspi-"), os.path.dirname(program)
    try:
        for name in (n for n in os.listdir(source) if os.path.isfile(os.path.join(source, n))):
            shutil.copy2(os.path.join(source, name), folder)
        shutil.copy(config, os.path.join(folder, "telvorin.cfg"))  # the shipped one, not the build's
        command = ["dbus-run-session", "--", sys.executable, __file__, "--inner",
                   os.path.join(folder, os.path.basename(program))]
        rc = on_own_display(command)
        return on_own_display(command) if rc == 3 else rc
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    sys.exit(inner(sys.argv[2]) if sys.argv[1] == "--inner" else outer(sys.argv[1], sys.argv[2]))

#!/usr/bin/python3
"""The real program on its own X server, its receiver a lirc0 link to a FIFO: keys written as mode2
words run their events once per press, tapped or held, for NEC, SONY, RC5, an MCE remote (RC6), JVC and
Panasonic, and a key that arrived before monitoring started (F5) runs nothing.
kernel_ir_test.py PROGRAM TOOL CONFIG SHOTS"""
import os, shutil, struct, subprocess, sys, tempfile, time
from atspi_test import wait_for

KEYS = {"nec": ("NEC", "Set-top Box&Power", "G00100000110111110001000011101111"),
        "sony": ("SONY", "Sony TV&Power", "G101010010000"),
        "rc5": ("RC5", "Philips Amp&Standby", "G11010000001100"),
        "mce": ("RC6-6A", "Media PC&OK", "G10000000000011110000010000100010"),
        "jvc": ("JVC", "JVC Deck&Play", "G1100010100001000"),
        "panasonic": ("Kaseikyo", "Panasonic&Power", "G010000000000010000000001000000001011110010111101")}
# The devices the shipped file lacks: name, GPROTO, SENDPLS, REPEAT, BITG, BIT0, BIT1, GREPEAT.
DEVICES = [("Media PC", 5, 444, 160, "11111100101010010011", "01", "10", 160),
           ("JVC Deck", 6, 526, 40, "111111111111111100000000", "10", "1000", 1),
           ("Panasonic", 8, 432, 140, "111111110000", "10", "1000", 140)]
TIMEOUT = struct.pack("=I", 0x03000000 | 20000)


def frame(tool, protocol, code):
    """The first frame of the encoder's transmission, as mode2 words."""
    out = subprocess.check_output([tool, "encode", "--protocol", protocol, "--code", code, "--format", "mode2"], text=True)
    words = []
    for kind, n in (line.split() for line in out.splitlines() if line.strip()):
        if kind == "space" and (not words or int(n) >= 10000):
            if words:
                break
            continue
        words.append(struct.pack("=I", int(n) | (0x01000000 if kind == "pulse" else 0)))
    return b"".join(words)


def press(tool, name, frames):
    """A press as a receiver that hands over a batch delivers it: frames one period apart."""
    protocol, _, code = KEYS[name]
    gap = {"NEC": 40000, "SONY": 22000, "RC5": 89000, "RC6-6A": 78000, "JVC": 22000, "Kaseikyo": 63000}[protocol]
    one = frame(tool, protocol, code)
    burst = struct.pack("=3I", 0x01000000 | 9000, 2250, 0x01000000 | 560)
    rest = burst if protocol == "NEC" else one
    return struct.pack("=I", 300000) + one + b"".join(struct.pack("=I", gap) + rest for _ in range(frames - 1)) + TIMEOUT


def general(text, key, value):
    start = text.index(key + "=")
    return text[:start] + key + "= " + value + text[text.index("\r", start):]


def main(program, tool, config, shots):
    if not shutil.which("Xvfb"):
        return print("skipped: no Xvfb") or 77
    folder = tempfile.mkdtemp(prefix="quenix-lirc-")
    source, ran = os.path.dirname(program), os.path.join(folder, "ran")
    for name in (n for n in os.listdir(source) if os.path.isfile(os.path.join(source, n))):
        shutil.copy2(os.path.join(source, name), folder)
    text = open(config, newline="").read()
    for key, value in (("COMPORT", "100"), ("ITYPE", "5"), ("IRINENA", "1"), ("MONITOR", "0"), ("WINAMPENA", "0")):
        text = general(text, key, value)
    counter = os.path.join(folder, "count.sh")
    open(counter, "w").write('#!/bin/sh\necho "$1" >> %s\n' % ran)
    os.chmod(counter, 0o755)
    apps = "".join("%s %s,Count %s\r\n" % (counter, name, name) for name in KEYS)
    events = "".join("%s,application&Count %s\r\n" % (KEYS[name][1], name) for name in KEYS)
    text = text.replace("[Monitoring]\r\n", apps + "[Monitoring]\r\n" + events)
    for (name, proto, unit, repeat, bitg, bit0, bit1, grepeat), key in zip(DEVICES, ("mce", "jvc", "panasonic")):
        section = "[%s]\r\n# for the test\r\nGPROTO=%d\r\nSENDPLS=%d\r\nREPEAT=%d\r\nBITG= %s\r\nBIT0= %s\r\n" \
                  "BIT1= %s\r\nGREPEAT=%d\r\n%s,%s\r\n" % (name, proto, unit, repeat, bitg, bit0, bit1, grepeat,
                                                        KEYS[key][2], KEYS[key][1].split("&")[1])
        text = text.replace("[X10]\r\n", section + "[X10]\r\n")
    open(os.path.join(folder, "telvorin.cfg"), "w", newline="").write(text)
    fifo = os.path.join(folder, "fifo")
    os.mkfifo(fifo)
    os.symlink(fifo, os.path.join(folder, "lirc0"))

    read, write = os.pipe()
    xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                            pass_fds=[write], stderr=subprocess.DEVNULL)
    os.close(write)
    env = dict(os.environ, DISPLAY=":" + os.read(read, 16).decode().strip(), QT_QPA_PLATFORM="xcb",
               ASAN_OPTIONS="detect_leaks=0", SDL_AUDIODRIVER="dummy")
    app = subprocess.Popen([os.path.join(folder, os.path.basename(program))], env=env)
    try:
        def opened():  # the program holds the FIFO open: a writer may open it now
            try:
                return os.open(fifo, os.O_WRONLY | os.O_NONBLOCK)
            except OSError:
                return None
        fd = wait_for(opened, "the program to open LIRC0")
        ran_lines = lambda: open(ran).read().split() if os.path.exists(ran) else []
        os.write(fd, press(tool, "sony", 3))  # before monitoring starts
        time.sleep(1)
        subprocess.check_call(["xdotool", "search", "--sync", "--onlyvisible", "--name", "Quenix", "windowfocus", "--sync", "key", "F5"],
                              env=env)
        time.sleep(1.5)
        failed = 0
        if ran_lines():
            failed += 1
            print("FAIL: a key from before F5 ran", ran_lines())
        expected = []
        for name in KEYS:
            for frames in (3, 10):  # tapped, then held
                os.write(fd, press(tool, name, frames))
                expected.append(name)
                wait_for(lambda: len(ran_lines()) >= len(expected), "the %s key's event" % name)
                time.sleep(0.6)  # more would have come by now; the next press is a new one
        if ran_lines() != expected:
            failed += 1
            print("FAIL: events ran", ran_lines(), "expected", expected)
        time.sleep(0.5)  # let the window show what it received
        os.makedirs(shots, exist_ok=True)
        subprocess.check_call(["import", "-display", env["DISPLAY"], "-window", "root",
                               os.path.join(shots, "kernel_ir_monitoring.png")])
        print("%d passed, %d failed" % (2 - failed, failed))
        return 1 if failed else 0
    finally:
        app.terminate()
        app.wait(20)
        xvfb.terminate()
        xvfb.wait()
        shutil.rmtree(folder)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:5]))

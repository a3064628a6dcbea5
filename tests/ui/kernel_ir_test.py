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


def prepared_config(config, folder, keys):
    """The shipped file on a kernel receiver, monitoring off, keys' events counted in folder/ran,
    and the devices the shipped file lacks, holding the KEYS' codes when keys says so."""
    text = open(config, newline="").read()
    for key, value in (("COMPORT", "100"), ("ITYPE", "5"), ("IRINENA", "1"), ("MONITOR", "0"), ("WINAMPENA", "0")):
        text = general(text, key, value)
    counter = os.path.join(folder, "count.sh")
    open(counter, "w").write('#!/bin/sh\necho "$1" >> %s\n' % os.path.join(folder, "ran"))
    os.chmod(counter, 0o755)
    apps = "".join("%s %s,Count %s\r\n" % (counter, name, name) for name in KEYS)
    events = "".join("%s,application&Count %s\r\n" % (KEYS[name][1], name) for name in KEYS)
    text = text.replace("[Monitoring]\r\n", apps + "[Monitoring]\r\n" + events)
    for (name, proto, unit, repeat, bitg, bit0, bit1, grepeat), key in zip(DEVICES, ("mce", "jvc", "panasonic")):
        command = "%s,%s\r\n" % (KEYS[key][2], KEYS[key][1].split("&")[1]) if keys else ""
        section = "[%s]\r\n# for the test\r\nGPROTO=%d\r\nSENDPLS=%d\r\nREPEAT=%d\r\nBITG= %s\r\nBIT0= %s\r\n" \
                  "BIT1= %s\r\nGREPEAT=%d\r\n%s" % (name, proto, unit, repeat, bitg, bit0, bit1, grepeat, command)
        text = text.replace("[X10]\r\n", section + "[X10]\r\n")
    return text


class Program:
    """The program in a copy of its folder on its own X server, its lirc0 a FIFO held open as fd."""

    def __init__(self, program, config, keys=True):
        self.folder = tempfile.mkdtemp(prefix="quenix-lirc-")
        source = os.path.dirname(program)
        for name in (n for n in os.listdir(source) if os.path.isfile(os.path.join(source, n))):
            shutil.copy2(os.path.join(source, name), self.folder)
        self.config = os.path.join(self.folder, "telvorin.cfg")
        open(self.config, "w", newline="").write(prepared_config(config, self.folder, keys))
        fifo = os.path.join(self.folder, "fifo")
        os.mkfifo(fifo)
        os.symlink(fifo, os.path.join(self.folder, "lirc0"))
        read, write = os.pipe()
        self.xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                                     pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        self.env = dict(os.environ, DISPLAY=":" + os.read(read, 16).decode().strip(), QT_QPA_PLATFORM="xcb",
                        ASAN_OPTIONS="detect_leaks=0", SDL_AUDIODRIVER="dummy")
        self.program = os.path.join(self.folder, os.path.basename(program))
        self.start()

    def start(self):
        self.app = subprocess.Popen([self.program], env=self.env)
        fifo = os.path.join(self.folder, "fifo")

        def opened():  # the program holds the FIFO open: a writer may open it now
            try:
                return os.open(fifo, os.O_WRONLY | os.O_NONBLOCK)
            except OSError:
                return None
        self.fd = wait_for(opened, "the program to open LIRC0")

    def stop(self):
        os.close(self.fd)
        self.app.terminate()
        self.app.wait(20)

    def ran(self):
        path = os.path.join(self.folder, "ran")
        return open(path).read().split() if os.path.exists(path) else []

    def xdotool(self, *args):
        """xdotool's command on the main window (found by its process: its title follows the device)."""
        subprocess.check_call(["xdotool", "search", "--sync", "--onlyvisible", "--pid", str(self.app.pid),
                               "--name", "v[0-9]", "windowfocus", "--sync"] + list(args), env=self.env)

    def shot(self, shots, name):
        os.makedirs(shots, exist_ok=True)
        subprocess.check_call(["import", "-display", self.env["DISPLAY"], "-window", "root", os.path.join(shots, name)])

    def close(self):
        self.stop()
        self.xvfb.terminate()
        self.xvfb.wait()
        shutil.rmtree(self.folder)


def run(check, program, config, keys, *args):
    """check(p, *args) on the program, answering how many checks failed out of how many."""
    if not shutil.which("Xvfb") or not shutil.which("xdotool"):
        return print("skipped: no Xvfb or xdotool") or 77
    p = Program(program, config, keys)
    try:
        failed, checks = check(p, *args)
        print("%d passed, %d failed" % (checks - failed, failed))
        return 1 if failed else 0
    finally:
        p.close()


def monitored(p, tool, shots):
    os.write(p.fd, press(tool, "sony", 3))  # before monitoring starts
    time.sleep(1)
    p.xdotool("key", "F5")
    time.sleep(1.5)
    failed = 0
    if p.ran():
        failed += 1
        print("FAIL: a key from before F5 ran", p.ran())
    expected = []
    for name in KEYS:
        for frames in (3, 10):  # tapped, then held
            os.write(p.fd, press(tool, name, frames))
            expected.append(name)
            wait_for(lambda: len(p.ran()) >= len(expected), "the %s key's event" % name)
            time.sleep(0.6)  # more would have come by now; the next press is a new one
    if p.ran() != expected:
        failed += 1
        print("FAIL: events ran", p.ran(), "expected", expected)
    time.sleep(0.5)  # let the window show what it received
    p.shot(shots, "kernel_ir_monitoring.png")
    return failed, 2


if __name__ == "__main__":
    sys.exit(run(monitored, sys.argv[1], sys.argv[3], True, sys.argv[2], sys.argv[4]))

#!/usr/bin/python3
"""The real program on its own X server, its receiver a lirc0 link to a FIFO: a key written as mode2
words is received while monitoring and runs its event. kernel_ir_test.py PROGRAM TOOL CONFIG SHOTS"""
import os, shutil, struct, subprocess, sys, tempfile, time
from atspi_test import wait_for

KEY = "G00100000110111110001000011101111"  # Set-top Box&Power


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
    for key, value in (("COMPORT", "100"), ("ITYPE", "5"), ("IRINENA", "1"), ("MONITOR", "1"), ("WINAMPENA", "0")):
        text = general(text, key, value)
    text = text.replace("[Monitoring]\r\n", "/usr/bin/touch %s,Touch\r\n[Monitoring]\r\nSet-top Box&Power,application&Touch\r\n" % ran)
    open(os.path.join(folder, "telvorin.cfg"), "w", newline="").write(text)
    fifo = os.path.join(folder, "fifo")
    os.mkfifo(fifo)
    os.symlink(fifo, os.path.join(folder, "lirc0"))
    mode2 = subprocess.check_output([tool, "encode", "--protocol", "NEC", "--code", KEY, "--format", "mode2"], text=True)
    words = b"".join(struct.pack("=I", int(n) | (0x01000000 if kind == "pulse" else 0))
                     for kind, n in (line.split() for line in mode2.splitlines() if line.strip()))

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
        os.write(fd, struct.pack("=I", 300000) + words + struct.pack("=I", 0x03000000 | 20000))
        wait_for(lambda: os.path.exists(ran), "the key's event")
        time.sleep(0.5)  # let the window show what it received
        os.makedirs(shots, exist_ok=True)
        subprocess.check_call(["import", "-display", env["DISPLAY"], "-window", "root",
                               os.path.join(shots, "kernel_ir_monitoring.png")])
        print("1 passed, 0 failed")
        return 0
    finally:
        app.terminate()
        app.wait(20)
        xvfb.terminate()
        xvfb.wait()
        shutil.rmtree(folder)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:5]))

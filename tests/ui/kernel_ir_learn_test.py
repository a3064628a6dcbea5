#!/usr/bin/python3
"""The real program on a lirc0 link to a FIFO learns an MCE (RC6) key, a JVC key and a Panasonic key as a
user does: the device chosen in the list, Record pressed and the key pressed twice, Save and the command's
name typed. Each key is then stored under its device, and pressed while monitoring runs its event. (The
device made from a recording is covered by the learning tests: without a window manager a second device
form here does not reliably get the keys.)
kernel_ir_learn_test.py PROGRAM TOOL CONFIG SHOTS"""
import os, subprocess, sys, time
from atspi_test import wait_for
from kernel_ir_test import DEVICES, KEYS, press, run

LEARNED = ("mce", "jvc", "panasonic")


def learned(p, tool, shots):
    failed = 0
    for name, header in zip(LEARNED, DEVICES):
        device, command = KEYS[name][1].split("&")
        p.xdotool("mousemove", "--window", "%1", "120", "150", "click", "1")  # the device list
        p.xdotool("type", "--delay", "50", device)
        for _ in range(2):  # the second press validates the code
            p.xdotool("key", "alt+r")
            time.sleep(0.5)
            os.write(p.fd, press(tool, name, 3))
            time.sleep(1.5)
        if name == LEARNED[-1]:
            p.shot(shots, "kernel_ir_learned.png")
        p.xdotool("key", "alt+v")
        time.sleep(1)  # the name box has the focus
        for args in (["type", "--delay", "50", command], ["key", "Return"]):
            subprocess.check_call(["xdotool"] + args, env=p.env)
        def section():
            text = open(p.config, newline="").read()
            start = text.index("[%s]" % device)
            return text[start:text.index("\r\n[", start)].split("\r\n")

        # Other devices have commands of the same name: wait for this device's line.
        line = "%s,%s" % (KEYS[name][2], command)
        try:
            wait_for(lambda: line in section(), "the %s key under [%s] in telvorin.cfg" % (name, device), 10)
        except AssertionError:
            pass  # said below, with the section as it stands
        # Under the device of its protocol; MCE's toggle is stored as 0.
        if "GPROTO=%d" % header[1] not in section() or line not in section():
            failed += 1
            print("FAIL: %s learned as %s" % (name, section()))
    p.xdotool("key", "F5")
    time.sleep(1.5)
    for count, name in enumerate(LEARNED, 1):
        os.write(p.fd, press(tool, name, 3))
        wait_for(lambda: len(p.ran()) >= count, "the %s key's event" % name)
        time.sleep(0.6)
    if p.ran() != list(LEARNED):
        failed += 1
        print("FAIL: events ran", p.ran())
    return failed, 2


if __name__ == "__main__":
    sys.exit(run(learned, sys.argv[1], sys.argv[3], False, sys.argv[2], sys.argv[4]))

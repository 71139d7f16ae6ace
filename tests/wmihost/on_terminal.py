#!/usr/bin/env python3
"""Runs a Windows program on a terminal of 60 lines of 72 characters and ends with its exit code.

    on_terminal.py PROGRAM [ARGUMENT...]

If the program fails, its output is shown without the terminal's control sequences.
"""

import fcntl
import os
import pathlib
import pty
import re
import select
import struct
import subprocess
import sys
import termios
import time

LINES, COLUMNS = 60, 72
PATIENCE = 100  # seconds
TOP = pathlib.Path(__file__).resolve().parents[2]


def main():
    ours, theirs = pty.openpty()
    fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", LINES, COLUMNS, 0, 0))
    environment = {name: value for name, value in os.environ.items() if name != "COLUMNS"}
    program = subprocess.Popen([str(TOP / "tools" / "wine"), *sys.argv[1:]], env=dict(environment, TERM="xterm"),
                               stdin=theirs, stdout=theirs, stderr=theirs, start_new_session=True,
                               preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
    os.close(theirs)
    written = b""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        ready = select.select([ours], [], [], 0.2)[0]
        if ready:
            try:
                written += os.read(ours, 65536)
            except OSError:  # the other end is closed
                break
        elif program.poll() is not None:
            break
    try:
        code = program.wait(timeout=max(1.0, end - time.monotonic()))
    except subprocess.TimeoutExpired:
        program.kill()
        code = "none, it did not end in time"
    if code != 0:
        print(re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", " ", written.decode(errors="replace")))
        print(f"exit code: {code}")
    return 0 if code == 0 else 1


if __name__ == "__main__":
    sys.exit(main())

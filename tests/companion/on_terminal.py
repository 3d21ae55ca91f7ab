#!/usr/bin/env python3
"""Runs a command with a terminal as its standard output, and prints what it showed there.

    on_terminal.py COMMAND...
"""

import os
import pty
import sys

WINDOW = 1 << 16


def shown(command):
    child, terminal = pty.fork()
    if child == 0:
        os.execvp(command[0], command)
    output = b""
    try:
        while piece := os.read(terminal, WINDOW):
            output += piece
    except OSError:  # the command has closed its side
        pass
    return output, os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


OUTPUT, STATUS = shown(sys.argv[1:])
sys.stdout.buffer.write(OUTPUT.replace(b"\r\n", b"\n"))
sys.exit(STATUS)

# SPDX-License-Identifier: Apache-2.0
"""A run of the tool on a pseudo-terminal, which is all the input and output that it has."""

import os
import pty
import select
import signal
import struct
import termios
import tty

PATIENCE = 20  # seconds
STATUS = struct.Struct("i")


def lead(command, environment, report, is_behind):
    """What a shell does for a job: gives it a process group and the terminal, and tells how it fares.
    A job that starts behind it gets the terminal once it has stopped; before that, the terminal is as
    the shell's line editor wants it. The shell outlives the job, since a terminal without its session
    leader is reset."""
    settings = termios.tcgetattr(0)
    if is_behind:
        tty.setraw(0)
    job = os.fork()
    if job == 0:
        os.setpgid(0, 0)
        signal.signal(signal.SIGTTOU, signal.SIG_IGN)
        if not is_behind:
            os.tcsetpgrp(0, os.getpid())
        for changed in (signal.SIGTTOU, signal.SIGPIPE):
            signal.signal(changed, signal.SIG_DFL)
        os.execve(command[0], command, environment)
    os.write(report, STATUS.pack(job))
    is_stopped = True
    while is_stopped:
        status = os.waitpid(job, os.WUNTRACED)[1]
        os.write(report, STATUS.pack(status))
        is_stopped = os.WIFSTOPPED(status)
        if is_behind and is_stopped:
            termios.tcsetattr(0, termios.TCSADRAIN, settings)
            os.tcsetpgrp(0, job)
            os.kill(job, signal.SIGCONT)
            is_behind = False
    signal.pause()


class Terminal:
    def __init__(self, command, environment, is_behind=False):
        self._report, report = os.pipe()
        self._leader, self._terminal = pty.fork()
        if self._leader == 0:
            try:
                lead(command, environment, report, is_behind)
            finally:
                os._exit(127)
        os.close(report)
        self.shown, self._seen = "", 0
        self.job = self.report()

    def close(self):
        os.kill(self._leader, signal.SIGKILL)
        os.waitpid(self._leader, 0)
        os.close(self._terminal)
        os.close(self._report)

    def await_text(self, text):
        """Reads until the text was shown. A prompt is waited for before it is answered, since what is
        typed earlier is thrown away."""
        while (at := self.shown.find(text, self._seen)) < 0:
            if not select.select([self._terminal], [], [], PATIENCE)[0]:
                raise AssertionError(f"waited for: {text}\nshown: {self.shown}")
            self.shown += os.read(self._terminal, 4096).decode()
        self._seen = at + len(text)

    def answer(self, prompt, typed):
        self.await_text(prompt)
        os.write(self._terminal, typed.encode())

    def report(self):
        """Waits for the tool to end or stop: its status as waitpid gives it."""
        if not select.select([self._report], [], [], PATIENCE)[0]:
            raise AssertionError(f"it does not end; shown: {self.shown}")
        return STATUS.unpack(os.read(self._report, STATUS.size))[0]

    def end(self):
        """The exit status; a signal that ended it as a negative number."""
        return os.waitstatus_to_exitcode(self.report())

    def has_echo(self):
        return bool(termios.tcgetattr(self._terminal)[3] & termios.ECHO)

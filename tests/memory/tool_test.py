# SPDX-License-Identifier: Apache-2.0
"""The tool when it ends: no PIN, PUK or key is left in its memory, whether it was typed or piped."""

import os
import signal
import subprocess
import unittest

from leftovers import KEY_PARTS, find, forms
from terminal import Terminal
from tool import PINDESK

WRONG, FIRST, SECOND, PUK = "91736482", "836194", "72849163", "61938274"
NEEDLES = [form for value in (WRONG, FIRST, SECOND, PUK) for form in forms(value)] + list(KEY_PARTS)
STOPPING = os.environ | {"LC_ALL": "C.UTF-8", "LANGUAGE": "", "LD_PRELOAD": os.environ["PINDESK_STOP"]}
HELD = WRONG.encode() # of a program that is known to keep it

# words, exit status, and what is asked and answered: piped, all of it at once
RUNS = (
    ("change cns-pin", 0, ("CNS PIN (", "12345678"), ("new CNS PIN (", FIRST), ("once more: ", FIRST)),
    ("verify cns-pin", 0, ("CNS PIN (", FIRST)),
    ("verify cns-pin", 3, ("CNS PIN (", WRONG)),
    ("change cns-puk", 0, ("CNS PUK (", "87654321"), ("new CNS PUK (", PUK), ("once more: ", PUK)),
    ("unblock cns", 0, ("CNS PUK (", PUK), ("new CNS PIN (", SECOND), ("once more: ", SECOND)),
    ("change cns-pin", 0, ("CNS PIN (", SECOND), ("new CNS PIN (", FIRST), ("once more: ", FIRST)),
    ("change ds-pin", 0, ("DS PIN (", "13572468"), ("new DS PIN (", FIRST), ("once more: ", FIRST)),
    ("verify ds-pin", 3, ("DS PIN (", WRONG)),
    ("verify ds-pin", 0, ("DS PIN (", FIRST)),
    ("change ds-puk", 0, ("DS PUK (", "24681357"), ("new DS PUK (", PUK), ("once more: ", PUK)),
    ("unblock ds", 0, ("DS PUK (", PUK), ("new DS PIN (", SECOND), ("once more: ", SECOND)),
)
BACK = (
    ("change cns-pin", 0, ("CNS PIN (", FIRST), ("new CNS PIN (", "12345678"), ("once more: ", "12345678")),
    ("change cns-puk", 0, ("CNS PUK (", PUK), ("new CNS PUK (", "87654321"), ("once more: ", "87654321")),
    ("change ds-pin", 0, ("DS PIN (", SECOND), ("new DS PIN (", "13572468"), ("once more: ", "13572468")),
    ("change ds-puk", 0, ("DS PUK (", PUK), ("new DS PUK (", "24681357"), ("once more: ", "24681357")),
)


class Leftovers(unittest.TestCase):
    def test_are_found(self):
        program = subprocess.Popen(["true", HELD], env=STOPPING)
        os.waitpid(program.pid, os.WUNTRACED)
        self.assertIn((HELD, "[stack]"), find(program.pid, NEEDLES))
        program.send_signal(signal.SIGCONT)
        program.wait()

    def test_of_piped_values_there_are_none(self):
        for words, status, *dialogue in RUNS + BACK:
            typed = [typed for prompt, typed in dialogue if prompt != "once more: "]
            with self.subTest(words=words):
                program = subprocess.Popen([PINDESK, *words.split()], env=STOPPING,
                                           stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                           stderr=subprocess.DEVNULL)
                program.stdin.write("".join(f"{line}\n" for line in typed).encode())
                program.stdin.close()
                _, stopped = os.waitpid(program.pid, os.WUNTRACED)
                self.assertTrue(os.WIFSTOPPED(stopped))
                self.assertEqual([], find(program.pid, NEEDLES))
                program.send_signal(signal.SIGCONT)
                self.assertEqual(status, program.wait())

    def test_of_typed_values_there_are_none(self):
        for words, status, *dialogue in RUNS + BACK:
            with self.subTest(words=words):
                terminal = Terminal([PINDESK, *words.split()], STOPPING)
                for prompt, typed in dialogue:
                    terminal.answer(prompt, f"{typed}\r")
                self.assertTrue(os.WIFSTOPPED(terminal.report()))
                self.assertEqual([], find(terminal.job, NEEDLES))
                os.kill(terminal.job, signal.SIGCONT)
                self.assertEqual(status, terminal.end())
                terminal.close()


if __name__ == "__main__":
    unittest.main()

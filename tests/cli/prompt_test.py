# SPDX-License-Identifier: Apache-2.0
"""The tool at a terminal: what is asked, what is shown, and the state it leaves the terminal in."""

import os
import signal
import unittest

from terminal import Terminal
from tool import PINDESK, ToolTest


class Prompt(ToolTest):
    def start(self, words, **how):
        terminal = Terminal([PINDESK, *words.split()], self.environment, **how)
        self.addCleanup(terminal.close)
        return terminal

    def test_never_shows_what_is_typed(self):
        run = self.start("verify cns-pin")
        run.await_text("CNS PIN (6 to 8 digits, 3 tries left): ")
        self.assertFalse(run.has_echo())
        run.answer("", "12345678\r")
        run.await_text("The CNS PIN is right.")
        self.assertTrue(run.has_echo())
        self.assertEqual(0, run.end())
        self.assertNotIn("12345678", run.shown)

    def test_asks_for_a_new_value_until_it_is_typed_twice_alike(self):
        run = self.start("change cns-pin")
        run.answer("CNS PIN (", "12345678\r")
        run.answer("new CNS PIN (", "44556677\r")
        run.answer("once more: ", "44556678\r")
        run.await_text("differ")
        run.answer("new CNS PIN (", "44556677\r")
        run.answer("once more: ", "44556677\r")
        run.await_text("has its new value")
        self.assertEqual(0, run.end())
        self.assertEqual(0, self.pindesk("verify cns-pin", "44556677\n").returncode)

    def test_gives_up_after_three_different_pairs(self):
        run = self.start("unblock cns")
        run.answer("CNS PUK (8 digits, 5 tries left): ", "87654321\r")
        for second in ("11111111\r", "22222222\r", "33333333\r"):
            run.answer("new CNS PIN (", "44556677\r")
            run.answer("once more: ", second)
        run.await_text("Nothing was sent")
        self.assertEqual(2, run.end())
        self.assertEqual(0, self.counters("cns-puk")["presented"])

    def test_asks_again_for_what_cannot_be_right(self):
        run = self.start("verify cns-pin --pin-from stdin")
        for typed, told in (("\r", "is empty"), ("12345\r", "has 6 to 8"), ("12345 78\r", "not permitted")):
            run.answer("CNS PIN (", typed)
            run.await_text(told)
        self.assertEqual(2, run.end())
        self.assertEqual(0, self.counters("cns-pin")["presented"])

    def test_ends_cleanly_without_an_answer(self):
        run = self.start("verify cns-pin")
        run.answer("CNS PIN (", "\x04")
        run.await_text("the input ended")
        self.assertEqual(2, run.end())

    def test_asks_for_nothing_when_the_secret_is_blocked(self):
        for _ in range(3):
            self.pindesk("verify cns-pin --use-last-try", "11111111\n")
        run = self.start("verify cns-pin")
        run.await_text("pindesk unblock cns")
        self.assertEqual(4, run.end())
        self.assertNotIn("CNS PIN (", run.shown)

    def test_shows_the_consequences_of_a_lock(self):
        run = self.start("lock")
        run.await_text("nothing can be signed")
        run.answer("Type lock to go on: ", "lock\r")
        run.await_text("is deactivated")
        self.assertEqual(0, run.end())

    def test_offers_without_a_verb_what_makes_sense(self):
        for _ in range(3):
            self.pindesk("verify cns-pin --use-last-try", "11111111\n")
        run = self.start("--lang it")
        run.answer("1  impostare un nuovo PIN di autenticazione (CNS) con il PUK", "")
        run.answer("per terminare: ", "1\r")
        run.answer("5 tentativi rimasti): ", "87654321\r")
        for _ in range(2):
            run.answer(": ", "90817263\r")
        run.answer("1  verificare il PIN di autenticazione (CNS)", "")
        run.answer("per terminare: ", "\r")
        self.assertEqual(0, run.end())

    def test_restores_the_terminal_on_a_signal(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            run = self.start("verify cns-pin")
            run.await_text("CNS PIN (")
            self.assertFalse(run.has_echo())
            os.kill(run.job, number)
            self.assertEqual(-number, run.end())
            self.assertTrue(run.has_echo())

    def test_asks_again_after_a_stop(self):
        run = self.start("verify cns-pin")
        run.answer("CNS PIN (", "1234")
        os.kill(run.job, signal.SIGTSTP)
        self.assertTrue(os.WIFSTOPPED(run.report()))
        self.assertTrue(run.has_echo())
        os.kill(run.job, signal.SIGCONT)
        run.answer("CNS PIN (", "12345678\r")
        run.await_text("is right")
        self.assertEqual(0, run.end())

    def test_asks_only_once_it_is_in_front(self):
        run = self.start("verify cns-pin", is_behind=True)
        self.assertEqual(signal.SIGTTIN, os.WSTOPSIG(run.report()))
        run.answer("CNS PIN (", "12345678\r")
        run.await_text("is right")
        self.assertEqual(0, run.end())


if __name__ == "__main__":
    unittest.main()

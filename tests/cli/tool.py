# SPDX-License-Identifier: Apache-2.0
"""Runs the built tool beside a virtual card that lives in the tool's own process."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["PINDESK_BUILD"])
PINDESK = str(BUILD / "pindesk")


class ToolTest(unittest.TestCase):
    """A card whose state outlives each run, in a directory of the test's own."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)
        self.environment = os.environ | {"LC_ALL": "C.UTF-8", "LANGUAGE": "",
                                         "LD_LIBRARY_PATH": f"{BUILD}/inprocess"}
        self.card(STATE=self.directory / "state", COUNTERS=self.directory / "counters")

    def card(self, **variables):
        """Sets variables for all runs from now on: FAULT stands for PINDESK_VCARD_FAULT."""
        for name, value in variables.items():
            self.environment[f"PINDESK_VCARD_{name}"] = str(value)

    def pindesk(self, words, typed=""):
        """One run: its returncode, stdout and stderr. What is typed is all of its standard input."""
        return subprocess.run([PINDESK, *words.split()], input=typed, env=self.environment, text=True,
                              capture_output=True, start_new_session=True, timeout=60, check=False)

    def counters(self, secret):
        """What the card counted: "presented", "new_values", "tries_left"."""
        return json.loads((self.directory / "counters").read_text())[secret]

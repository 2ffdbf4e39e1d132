# SPDX-License-Identifier: Apache-2.0
"""The documents say what the tool says."""

import itertools
import json
import re
import subprocess
import unittest

from tool import BUILD, ROOT, ToolTest

MANUALS = {"docs/pindesk.1": "en", "docs/it/pindesk.1": "it"}


class Documents(ToolTest):
    def test_list_every_result_code_as_the_tool_explains_it(self):
        headers = "".join((ROOT / "pindesk" / name).read_text() for name in ("PinDesk.h", "PCSC_Misc.h"))
        codes = set(re.findall(r"constexpr long [A-Z_]+ = (0|-\d+);", headers))
        document = (ROOT / "docs/result-codes.md").read_text()
        self.assertGreater(len(codes), 30)
        for code, (page, language) in itertools.product(codes, MANUALS.items()):
            manual = (ROOT / page).read_text().partition(f".B {code}\n".replace("-", "\\-"))[2]
            told = json.loads(self.pindesk(f"explain {code} --json --lang {language}").stdout)
            entry = f"{told['meaning']} ({told['exit_status_of_code']})"
            self.assertTrue(" ".join(manual.split()).startswith(entry), f"{page}: {code}")
        for code in codes:
            told = json.loads(self.pindesk(f"explain {code} --json").stdout)
            row = [code, told["exit_status_of_code"], told["meaning"], told["what_to_do"]]
            self.assertIn(f"| {' | '.join(map(str, row))} |\n", document)

    def test_manuals_name_every_verb_and_option(self):
        verbs = re.findall(r"^  ([a-z]+)   ", self.pindesk("help").stdout, re.MULTILINE)
        helps = "".join(self.pindesk(f"help {verb}").stdout for verb in verbs)
        options = set(re.findall(r"--[a-z-]*[a-z]", helps))
        self.assertGreater(len(options), 20)
        for page in MANUALS:
            manual = (ROOT / page).read_text().replace("\\-", "-")
            for word in options | set(verbs):
                self.assertIn(word, manual, page)

    def test_manual_names_every_option_of_the_virtual_card(self):
        shown = subprocess.run([BUILD / "pindesk-vcard", "--help"], text=True, capture_output=True, check=True)
        options = re.findall(r"^  (--[a-z-]+)", shown.stdout, re.MULTILINE)
        self.assertGreater(len(options), 10)
        manual = (ROOT / "docs/pindesk-vcard.1").read_text().replace("\\-", "-")
        for option in options:
            self.assertIn(option, manual)

    def test_help_fits_a_terminal(self):
        for language in ("en", "it"):
            for words in ("help", "help unblock", "help lock", "help change"):
                shown = self.pindesk(f"{words} --lang {language}").stdout
                self.assertLess(max(map(len, shown.splitlines())), 80, words)


if __name__ == "__main__":
    unittest.main()

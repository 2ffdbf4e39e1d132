#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs what a document shows at the shell, and compares what is answered:

    run.py [--update] [--examples MANUAL] BUILD DOCUMENT...

In the fenced blocks of a document, a line that starts with "$ " is a command; up to the next one
stands what it prints, and its exit status unless that is 0. Each heading starts a story: a card with
the values it leaves the factory with, an empty directory, a shell of its own. The card is inside the
tool, or in the first reader when PINDESK_VPCD_PORT is set (see with-pcscd). Beside the tools, a story
has "card SECRET", which prints the card's own counters, and over a reader "insert [OPTION...]" and
"remove" for the card, "hold MODE" and "release" for another program that uses it (see hold_card.cpp).

A word of six to eight digits stands for a secret: no answer may repeat it.

--update    writes what was answered into the document, to be reviewed
--examples  says which of the manual's examples the documents do not run
"""

import argparse
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

PRELUDE = r"""
card() { sed -n "/\"$1\"/,/}/s/ *\"\(.*\)\": \([0-9]\)/\1 \2/p" counters | paste -sd ' '; }
insert() {
    pindesk-vcard --port "$PINDESK_VPCD_PORT" --state state --counters counters "$@" > /dev/null 2>&1 &
    vcard=$!
    pindesk serial --wait=20 --quiet > /dev/null
}
remove() {
    kill "$vcard" && wait "$vcard"
    while pindesk readers | grep -q 'card present'; do sleep 0.05; done
}
hold() {
    coproc HOLD { exec hold-card "$1" "${2:-60000}" 2> /dev/null; }
    read -r -u "${HOLD[0]}"
}
release() { kill "$HOLD_PID" && wait "$HOLD_PID"; } 2> /dev/null
"""
REAL_READER = "insert; trap '{ release; remove; } > /dev/null 2>&1' EXIT\n"
SECRET = re.compile(r"(?<!\d)\d{6,8}(?!\d)")


class Piece:
    """A line of a document; if it is a command, with the lines answered and the gap after them."""

    def __init__(self, line, is_command=False):
        self.line, self.is_command, self.answer, self.gap = line, is_command, [], []

    def take(self, line):
        self.gap.append(line)
        if line:
            self.answer += self.gap
            self.gap = []


def stories(document):
    """The pieces of a document, a list for each heading."""
    found, is_fenced = [[]], False
    for line in document.splitlines():
        if line.startswith("```"):
            is_fenced = not is_fenced
        elif not is_fenced and line.startswith("#"):
            found.append([])
        elif is_fenced and line.startswith("$ "):
            found[-1].append(Piece(line, True))
            continue
        elif is_fenced and found[-1][-1].is_command and not line.startswith("# "):
            found[-1][-1].take(line)
            continue
        found[-1].append(Piece(line))
    return found


def play(commands, build):
    """Runs the commands of a story in one shell: what each answers."""
    script = PRELUDE
    environment = os.environ | {"PATH": f"{build}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8",
                                "LANGUAGE": ""}
    if "PINDESK_VPCD_PORT" in environment:
        script += REAL_READER
    else:
        environment |= {"LD_LIBRARY_PATH": f"{build}/inprocess", "PINDESK_VCARD_STATE": "state",
                        "PINDESK_VCARD_COUNTERS": "counters"}
    for command in commands:
        script += f"{{ {command}\n}} < /dev/null 2>&1\nprintf '\\0%s\\0' $?\n"
    with tempfile.TemporaryDirectory() as directory:
        run = subprocess.run(["bash", "-c", script], cwd=directory, env=environment, timeout=300,
                             stdout=subprocess.PIPE, text=True, start_new_session=True, check=False)
    parts = run.stdout.split("\0")
    return [text.splitlines() + ([] if status == "0" else [f"(exit status {status})"])
            for text, status in zip(parts[0::2], parts[1::2])]


def perform(document, build):
    """The document with what is answered today, and the secrets that an answer repeats."""
    lines, leaks = [], []
    for story in stories(document):
        pieces = [piece for piece in story if piece.is_command]
        answers = play([piece.line[2:] for piece in pieces], build) if pieces else []
        for piece, answer in zip(pieces, answers, strict=True):
            leaks += [f"{piece.line}: a secret is repeated" for secret in SECRET.findall(piece.line)
                      if any(secret in line for line in answer)]
            piece.answer = answer
        for piece in story:
            lines += [piece.line, *piece.answer, *piece.gap]
    return "\n".join(lines) + "\n", leaks


def examples(manual):
    """The commands in the EXAMPLES of a manual page."""
    section = manual.partition(".SH EXAMPLES")[2].partition(".SH")[0]
    return [line.replace("\\-", "-") for line in section.splitlines() if line.startswith("pindesk")]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--examples", type=pathlib.Path, metavar="MANUAL")
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("documents", type=pathlib.Path, nargs="+")
    given = parser.parse_args()

    complaints, commands = [], ""
    for path in given.documents:
        before = path.read_text()
        after, leaks = perform(before, given.build.resolve())
        complaints += leaks
        commands += "".join(line for line in after.splitlines(True) if line.startswith("$ "))
        if given.update:
            path.write_text(after)
        elif after != before:
            complaints += difflib.unified_diff(before.splitlines(), after.splitlines(), str(path),
                                               "as answered", lineterm="")
    if not commands:
        complaints.append("there is no command in these documents")
    if given.examples:
        shown = examples(given.examples.read_text())
        complaints += [f"not run: {line}" for line in shown or ["any example"]
                       if line not in commands]
    print("\n".join(complaints))
    sys.exit(1 if complaints else 0)


if __name__ == "__main__":
    main()

# SPDX-License-Identifier: Apache-2.0
"""Looks for secrets in the memory of a stopped program."""

import re

MAPPING = re.compile(r"([0-9a-f]+)-([0-9a-f]+) rw\S* \S+ \S+ \S+ *(.*)")
# As the library and its test cards have it, in the parts of which it is made.
KEY_PARTS = (bytes.fromhex("4A1F73C8259DE0B6"), bytes.fromhex("61D3085EF72A94CB"))


def find(pid, needles):
    """What memory that can be written holds: (needle, mapping) for each."""
    found = []
    with open(f"/proc/{pid}/maps", encoding="utf-8") as maps, open(f"/proc/{pid}/mem", "rb") as memory:
        for begin, end, name in MAPPING.findall(maps.read()):
            memory.seek(int(begin, 16))
            held = memory.read(int(end, 16) - int(begin, 16))
            found += [(needle, name or "unnamed") for needle in needles if needle in held]
    return found


def forms(value):
    """A value as it is typed, and as a host may keep it: two bytes a character."""
    return [value.encode(), value.encode("utf-16-le")]

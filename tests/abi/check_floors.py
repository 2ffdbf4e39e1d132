#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""No include goes up a floor, and PC/SC is called where the design says, by nobody else:

    check_floors.py ROOT PUBLIC_HEADERS
"""

import pathlib
import re
import sys

ROOMS = ("cardlib/support", "cardlib/crypto", "cardlib/cache", "cardlib/sessions")
FLOORS = {  # whose headers a floor includes, besides its own
    "cardlib/support": (),
    "cardlib/crypto": ("cardlib/support",),
    "cardlib/cache": ("cardlib/support",),
    "cardlib/sessions": ROOMS,
    "pindesk": ROOMS,
    "desk": (*ROOMS, "pindesk"),
    "tools/virtualcard": (),  # shares nothing with the library, so that each checks the other
    "tools/pindesk": ("public", "desk/words.h"),  # for the translations of their own texts
    "tools/window": ("public", "desk/words.h"),
    "examples": ("public",),
}
PCSC_CALLERS = re.compile(r"""
    cardlib/(cscard\.h | sessions/(cscard|scardcardosm4)\.cpp)
    | pindesk/(frame|operation|readers|PCSC_Misc)\.(h|cpp)
    | desk/(readers|session)\.cpp
    | tools/virtualcard/.*""", re.VERBOSE)
COMMENT = re.compile(r"//.*|/\*.*?\*/")
INCLUDE = re.compile(r'^\s*#\s*include\s+"(.+)"', re.MULTILINE)
PCSC_CALL = re.compile(r"\bSCard(?!IsValidContextEX\b)[A-Z]\w*(?=\s*\()")  # that one is our own


def floor_of(path, root):
    """The floor of a file. A public header of cardlib is of the room that defines what it declares,
    or else of the lowest."""
    if path.parent == pathlib.Path("cardlib"):
        return next((room for room in ROOMS if (root / room / f"{path.stem}.cpp").exists()), ROOMS[0])
    return next((floor for floor in FLOORS if path.is_relative_to(floor)), None)


def included(path, name, floor, root):
    """The file that an include means, by its path from the root; None for a generated one."""
    places = (root, (root / path).parent, root / floor)
    found = [(place / name).resolve() for place in places if (place / name).exists()]
    return found[0].relative_to(root) if found else None


def complaints(path, root, public):
    floor = floor_of(path, root)
    if floor is None:
        yield f"{path} is on no floor"
        return
    text = COMMENT.sub("", (root / path).read_text())
    for name in INCLUDE.findall(text):
        other = included(path, name, floor, root)
        kinds = {floor_of(other, root), str(other), "public" if str(other) in public else None} if other else {floor}
        if kinds.isdisjoint({floor, *FLOORS[floor]}):
            yield f"{path} includes {name}, which is not below {floor}"
    for call in PCSC_CALL.findall(text):
        if not PCSC_CALLERS.fullmatch(str(path)):
            yield f"{path} calls {call}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    public = set(pathlib.Path(sys.argv[2]).read_text().split())
    files = [file.relative_to(root) for top in ("cardlib", "pindesk", "desk", "tools", "examples")
             for file in sorted((root / top).rglob("*")) if file.suffix in (".h", ".hpp", ".cpp", ".c")]
    found = [line for path in files for line in complaints(path, root, public)]
    print("\n".join(found) or f"{len(files)} files, no arrow goes up")
    sys.exit(1 if found or not files else 0)


if __name__ == "__main__":
    main()

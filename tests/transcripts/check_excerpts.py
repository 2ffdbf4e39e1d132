#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Code that a document shows under a link to a file of the tree stands in that file, line by line:

    check_excerpts.py DOCUMENT
"""

import pathlib
import re
import sys
import textwrap

document = pathlib.Path(sys.argv[1])
excerpts = re.findall(r"\]\(([^)]+)(?<!\.png)\)[^`]*```[a-z]+\n(.*?)```", document.read_text(), re.DOTALL)
assert excerpts, f"{document} shows no code of a file"
for name, excerpt in excerpts:
    whole = (document.parent / name).read_text()
    if not any(textwrap.indent(excerpt, " " * depth) in whole for depth in (0, 4, 8, 12)):
        sys.exit(f"{document}: what it shows of {name} does not stand there:\n{excerpt}")

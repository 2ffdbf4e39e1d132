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
    if textwrap.indent(excerpt, " " * 4) not in whole and excerpt not in whole:
        sys.exit(f"{document}: what it shows of {name} does not stand there:\n{excerpt}")

#!/usr/bin/env python3
"""Says in one line how many tests a CTest run skipped, and why.

CTest names the skipped tests but not their reasons. Run after the tests (the
post-test command of CTestCustom.cmake) on the run's JUnit file, this groups
the skipped tests by the reason each gave: GoogleTest's "Skipped" message, or
the last line a script test printed before it exited with 77.

CTest also runs the post-test command after `ctest --show-only`, whose output
other tools parse: the line goes to standard error, and only for a JUnit file
the run has just written.
"""
import collections
import os
import re
import sys
import time
import xml.etree.ElementTree as ET


def reason(case: ET.Element) -> str:
    lines = [line.strip() for line in (case.findtext("system-out") or "").splitlines()]
    for i, line in enumerate(lines[:-1]):
        if line.endswith(": Skipped"):
            return lines[i + 1]
    said = [line for line in lines if line and not line.startswith("[")]
    if not said:
        return "no reason given"
    return re.sub(r"^(skipped|skip):\s*", "", said[-1], flags=re.I)  # the scripts' own "skipped: " prefix


try:
    if time.time() - os.stat(sys.argv[1]).st_mtime > 60:
        sys.exit(0)  # an earlier run's file: this ctest ran no tests
    cases = list(ET.parse(sys.argv[1]).getroot().iter("testcase"))
except (OSError, ET.ParseError):
    sys.exit(0)  # no JUnit file: ctest was run without the preset
skipped = collections.Counter(reason(c) for c in cases if c.find("skipped") is not None)
if not skipped:
    print(f"Skipped: none of {len(cases)} tests.", file=sys.stderr)
else:
    why = "; ".join(f"{n} because {r}" for r, n in skipped.most_common())
    print(f"Skipped: {sum(skipped.values())} of {len(cases)} tests: {why}.", file=sys.stderr)

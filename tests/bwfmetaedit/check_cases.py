#!/usr/bin/env python3
"""Runs the golden cases of the original tool: check_cases.py RUN_CASES BINARY.

Everything has to pass but the cases named here, in which the delivered tool is different on purpose; and those have to
fail, or the list is out of date. Exit status 77 (skipped) where the cases are not there.
"""
import os
import re
import subprocess
import sys

ON_PURPOSE = {
    # A document never changes a file that was not given as an argument.
    "in-csv-by-document", "in-csv-two-files", "in-xml-by-document",
    # Showing never touches a file, and what is only shown need not be writable.
    "latin1-rewritten", "latin1-touched", "out-core-read-only",
    # What recorders really write can be read.
    "out-core-ffmpeg-pipe", "out-core-odd-no-pad", "out-ixml-two-chunks",
    # A missing or malformed document is an error.
    "in-csv-garbage", "in-csv-missing", "in-xml-no-declaration",
    # A symbolic link and its target survive.
    "layout-symlink",
    # --copy, which the original does not know.
    "copy-unknown", "copy-unknown-existing",
}


def main():
    run_cases, binary = sys.argv[1:3]
    if not os.path.exists(run_cases):
        print("SKIPPED: the golden cases are not there:", run_cases)
        return 77
    result = subprocess.run([sys.executable, run_cases, "--strict", binary], capture_output=True, text=True)
    failed = set(re.findall(r"^FAIL (\S+):", result.stdout, re.M))
    skipped = set(re.findall(r"^SKIP (\S+)", result.stdout, re.M))
    unexpected = failed - ON_PURPOSE
    surprising = ON_PURPOSE - failed - skipped
    if unexpected or result.stderr:
        print(result.stdout, result.stderr, sep="\n")
    print("not as the original:", sorted(unexpected) or "none but those on purpose")
    print("as the original, though the list says otherwise:", sorted(surprising) or "none")
    print(result.stdout.splitlines()[-2:])
    return 1 if unexpected or surprising or result.stderr else 0


sys.exit(main())

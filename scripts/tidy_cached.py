#!/usr/bin/env python3
"""Runs clang-tidy on sources, remembering those that were clean.

tidy_cached.py BUILD_FOLDER FILE...

A file is clean if clang-tidy reports nothing about its text, the headers of this project it includes and the rules. What was clean is
noted in BUILD_FOLDER/tidy under a digest of all three, so that the next run looks only at what changed.
"""
import hashlib
import os
import re
import subprocess
import sys

INCLUDE = re.compile(rb'^\s*#\s*include\s+"([^"]+)"', re.M)
ROOTS = ("include", "src", "cli", "samples", "")


def collect(path, seen):
    """Adds a file and the project headers it reaches to `seen`."""
    if path in seen:
        return
    with open(path, "rb") as file:
        seen[path] = file.read()
    for name in INCLUDE.findall(seen[path]):
        for root in (os.path.dirname(path), *ROOTS):
            candidate = os.path.normpath(os.path.join(root, name.decode()))
            if os.path.isfile(candidate):
                collect(candidate, seen)
                break


def digest(path, build):
    seen = {}
    collect(path, seen)
    with open(".clang-tidy", "rb") as rules:
        text = rules.read()
    for name in sorted(seen):
        text += name.encode() + seen[name]
    return hashlib.sha256(text).hexdigest()


def main(build, files):
    notes = os.path.join(build, "tidy")
    os.makedirs(notes, exist_ok=True)
    clean = True
    for path in files:
        note = os.path.join(notes, digest(path, build))
        if os.path.exists(note):
            continue
        run = subprocess.run(["clang-tidy", "-p", build, "--quiet", "--warnings-as-errors=*", path],
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
        if run.returncode == 0:
            open(note, "w").close()
        else:
            sys.stdout.buffer.write(run.stdout)
            clean = False
    return 0 if clean else 1


sys.exit(main(sys.argv[1], sys.argv[2:]))

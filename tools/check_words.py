#!/usr/bin/python3
"""Finds what a finished source tree does not hold: `check_words.py [--root DIR]`.

Reads every tracked text file and prints the lines with unfinished-work marks, paths of one
person's machine, or references to papers that a reader of this tree does not have.
"""

import argparse
import re
import subprocess
import sys
from pathlib import Path

# The patterns are written so that this file does not match itself.
FORBIDDEN = {
    "unfinished work": r"\b(?:TO" r"DO|FIX" r"ME|X" r"XX|HA" r"CK)\b",
    "a reference outside the tree": r"\bspec(?:ification)?\." r"md\b|\bdesign\." r"md\b"
                                    r"|\b[Pp]arts? \d+\.\d|\bPart [1-9]\b",
    "a path of one machine": r"(?<![\w.])/(?:wo" r"rk|ro" r"ot|ho" r"me/\w+|tm" r"p/house)(?:/|\b(?![-.\w]))",
    "words about how it was made": r"\b(?:as an A" r"I|language mo" r"del|Chat" r"GPT|Clau" r"de|Anthr" r"opic)\b",
}
PATTERNS = {reason: re.compile(pattern) for reason, pattern in FORBIDDEN.items()}


def tracked_files(root):
    listed = subprocess.run(["git", "-C", str(root), "ls-files", "-z"], capture_output=True)
    if listed.returncode == 0 and listed.stdout:
        return [root / name for name in listed.stdout.decode().split("\0") if name]
    # An archive of the tree has no git data: everything that is not built counts.
    return [path for path in root.rglob("*") if path.is_file()
            and path.relative_to(root).parts[0] not in ("build", "out", ".git")]


def faults(root):
    for path in sorted(tracked_files(root)):
        if not path.is_file():
            continue
        data = path.read_bytes()
        if b"\0" in data or path.suffix in (".pdf", ".jsonl"):
            continue
        for number, line in enumerate(data.decode("utf-8", "replace").splitlines(), 1):
            for reason, pattern in PATTERNS.items():
                if found := pattern.search(line):
                    yield f"{path.relative_to(root)}:{number}: {reason}: {found.group(0)}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", type=Path, default=Path(__file__).resolve().parent.parent)
    found = list(faults(parser.parse_args().root))
    print("\n".join(found) if found else "no forbidden words")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

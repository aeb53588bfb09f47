#!/usr/bin/python3
"""Says which tests of a ctest run were skipped, and why: `skip_report.py JUNIT_FILE`."""

import re
import sys
import xml.etree.ElementTree as ElementTree
from collections import Counter
from pathlib import Path

# GoogleTest prints "FILE:LINE: Skipped" and then the message of GTEST_SKIP().
GTEST_REASON = re.compile(r":\d+: Skipped\s*\n(.+)")


def reason_of(case):
    output = case.findtext("system-out") or ""
    if found := GTEST_REASON.search(output):
        return found.group(1).strip()
    lines = [line.strip() for line in output.splitlines() if line.strip()]
    return lines[-1] if lines else "no reason given"


def skipped(root):
    return [(case.get("name"), reason_of(case)) for case in root.iter("testcase")
            if case.get("status") == "notrun" or case.find("skipped") is not None]


def report(root):
    cases = skipped(root)
    if not cases:
        return "skipped: none"
    reasons = Counter(reason for _, reason in cases)
    lines = [f"skipped: {len(cases)} tests"]
    lines += [f"  {count} × {reason}" for reason, count in reasons.most_common()]
    return "\n".join(lines)


if __name__ == "__main__":
    if not Path(sys.argv[1]).exists():
        sys.exit(f"{sys.argv[1]}: no test results")
    print(report(ElementTree.parse(sys.argv[1]).getroot()))

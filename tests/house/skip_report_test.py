"""skip_report.py groups the skipped tests of a ctest result by the reason that they printed."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CASE = """<testcase name="{0}" classname="{0}" time="1" status="{1}">{2}
<system-out>{3}</system-out></testcase>"""
SKIPPED = '<skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>'


class SkipReport(unittest.TestCase):
    def report(self, *cases):
        with tempfile.NamedTemporaryFile("w", suffix=".xml") as file:
            file.write("<testsuite>" + "".join(CASE.format(*case) for case in cases)
                       + "</testsuite>")
            file.flush()
            return subprocess.run([sys.executable, str(ROOT / "tools/skip_report.py"), file.name],
                                  capture_output=True, text=True, check=True).stdout

    def test_reasons_are_grouped_and_counted(self):
        gtest = "[ RUN ] A.b\nx/ATest.cc:12: Skipped\nno camera here\n\n[  SKIPPED ] A.b\n"
        said = self.report(("A.b", "notrun", SKIPPED, gtest), ("A.c", "notrun", SKIPPED, gtest),
                           ("d", "notrun", SKIPPED, "the tool is not installed\n"),
                           ("e", "run", "", "[  OK ]"))
        self.assertEqual(said.splitlines(), ["skipped: 3 tests", "  2 × no camera here",
                                             "  1 × the tool is not installed"])

    def test_nothing_skipped_is_said_too(self):
        self.assertEqual(self.report(("e", "run", "", "ok")), "skipped: none\n")


if __name__ == "__main__":
    unittest.main()

"""bench_report.py merges the rows of real programs and reports one that fails."""

import json
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


class BenchReport(unittest.TestCase):
    def report(self, **programs):
        with tempfile.TemporaryDirectory() as folder:
            paths = []
            for name, body in programs.items():
                path = Path(folder) / name
                path.write_text("#!/bin/sh\n" + body)
                path.chmod(path.stat().st_mode | stat.S_IXUSR)
                paths.append(str(path))
            out = Path(folder) / "out" / "bench.json"
            run = subprocess.run([sys.executable, str(ROOT / "tools/bench_report.py"), "--out",
                                  str(out), *paths], capture_output=True, text=True)
            return run, json.loads(out.read_text())

    def test_rows_of_all_programs_are_merged_in_order(self):
        row = """echo '{"name":"%s","ours":2,"peer":%s,"unit":"ms","ratio":%s}' >> "$2"\n"""
        run, merged = self.report(
            first=row % ("blur", "6", "null") + row % ("copy", "null", "null"),
            second=row % ("shade", "1", "0.5"))
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual([(f["program"], f["name"], f["ratio"]) for f in merged["figures"]],
                         [("first", "blur", 3), ("first", "copy", None), ("second", "shade", 0.5)])
        self.assertGreaterEqual(merged["machine"]["cores"], 1)
        self.assertRegex(run.stdout, r"blur +2 +6 +ms +3\n")
        self.assertRegex(run.stdout, r"copy +2 +- +ms +-\n")

    def test_a_failing_program_fails_the_report_but_keeps_the_others(self):
        run, merged = self.report(
            bad="exit 3\n", good="""echo '{"name":"a","ours":1,"peer":null}' >> "$2"\n""")
        self.assertEqual(run.returncode, 1)
        self.assertIn("bad ended with 3", run.stderr)
        self.assertEqual([f["name"] for f in merged["figures"]], ["a"])

    def test_a_program_without_figures_fails_the_report(self):
        run, _ = self.report(silent="exit 0\n")
        self.assertEqual(run.returncode, 1)
        self.assertIn("reported no figure", run.stderr)


if __name__ == "__main__":
    unittest.main()

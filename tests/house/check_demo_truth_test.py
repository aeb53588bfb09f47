"""The truth check passes exact events and names what is wrong with others."""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL = Path(__file__).resolve().parents[2] / "tools" / "check_demo_truth.py"


def points(shift=0.0):
    return [[100 + 5 * i + shift, 200 + 3 * (i % 4)] for i in range(21)]


def truth():
    frames = []
    for frame in range(100):
        hand = {
            "side": "right",
            "landmarks": points(),
            "pinching": 30 <= frame < 60,
            "sign": "peace-sign" if 70 <= frame < 90 else None,
        }
        size = {"width": 640, "height": 360}
        frames.append({"frame": frame, "time": frame / 30, **size, "hands": [hand]})
    return frames


def events(began=33, ended=62, signed=77, chirality="right", shift=0.0):
    lines = []
    for frame in range(100):
        landmarks = [[x / 640, 1 - y / 360, 0.9] for x, y in points(shift)]
        hands = [{"chirality": chirality, "confidence": 0.9, "landmarks": landmarks}]
        lines.append({"type": "hands", "frame": frame, "time": frame / 30, "hands": hands})
    lines.append({"type": "pinch", "phase": "began", "frame": began, "at": [0, 0]})
    lines.append({"type": "pinch", "phase": "ended", "frame": ended})
    lines.append({"type": "sign", "frame": signed, "sign": "peace-sign"})
    lines.append({"type": "end", "frames": 100})
    return lines


class CheckDemoTruth(unittest.TestCase):
    def check(self, seen):
        with tempfile.TemporaryDirectory() as folder:
            paths = [Path(folder) / "events", Path(folder) / "truth"]
            for path, lines in zip(paths, (seen, truth())):
                path.write_text("".join(json.dumps(line) + "\n" for line in lines))
            run = subprocess.run(
                [sys.executable, TOOL, *paths], capture_output=True, text=True, check=False
            )
            return run.returncode, run.stdout

    def test_exact_events_pass(self):
        code, text = self.check(events())
        self.assertEqual(code, 0, text)
        self.assertIn("all holds", text)

    def test_a_late_beginning_fails(self):
        self.assertEqual(self.check(events(began=37))[0], 1)

    def test_a_late_end_fails(self):
        self.assertEqual(self.check(events(ended=67))[0], 1)

    def test_a_pinch_that_is_not_there_fails(self):
        extra = {"type": "pinch", "phase": "began", "frame": 80, "at": [0, 0]}
        code, text = self.check(events()[:-1] + [extra] + events()[-1:])
        self.assertEqual(code, 1)
        self.assertIn("1 found, 0 missed, 1 false", text)

    def test_a_late_sign_is_missed_and_false(self):
        code, text = self.check(events(signed=89))
        self.assertEqual(code, 1)
        self.assertIn("0 found, 1 false", text)

    def test_ink_without_a_pinch_fails(self):
        stroke = {"type": "stroke", "phase": "began", "frame": 40}
        code, text = self.check(events()[:-1] + [stroke] + events()[-1:])
        self.assertEqual(code, 1)
        self.assertIn("0 found, 0 missed, 1 false", text)

    def test_the_wrong_hand_fails(self):
        code, text = self.check(events(chirality="left"))
        self.assertEqual(code, 1)
        self.assertIn("chirality          0 of 100", text)

    def test_a_hand_elsewhere_is_missed_and_stray(self):
        code, text = self.check(events(shift=300))
        self.assertEqual(code, 1)
        self.assertIn("hands found        0 of 100", text)
        self.assertIn("stray            100 of 100", text)

    def test_unfinished_events_cannot_be_judged(self):
        self.assertEqual(self.check(events()[:-1])[0], 2)


if __name__ == "__main__":
    unittest.main()

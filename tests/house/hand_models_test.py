"""The shipped hand networks are those that their card describes."""

import hashlib
import json
import re
import unittest
from pathlib import Path

MODELS = Path(__file__).resolve().parents[2] / "models"
LARGEST_BYTES = 6_000_000  # both together
ROW = re.compile(r"\| `(?P<file>\w+\.onnx)` \| `input` 1×3×(?P<height>\d+)×(?P<width>\d+),.*"
                 r"\| (?P<bytes>[\d,]+) \| `(?P<sha256>[0-9a-f]{64})` \|")


class HandModels(unittest.TestCase):
    def setUp(self):
        card = (MODELS / "MODEL_CARD.md").read_text(encoding="utf-8")
        self.rows = {m["file"]: m for m in map(ROW.match, card.splitlines()) if m}

    def test_every_network_has_its_row(self):
        self.assertEqual({f.name for f in MODELS.glob("*.onnx")}, set(self.rows))

    def test_sizes_and_checksums_are_those_of_the_card(self):
        for name, row in self.rows.items():
            data = (MODELS / name).read_bytes()
            self.assertEqual(len(data), int(row["bytes"].replace(",", "")), name)
            self.assertEqual(hashlib.sha256(data).hexdigest(), row["sha256"], name)

    def test_the_description_has_the_inputs_of_the_card(self):
        model = json.loads((MODELS / "hand_model.json").read_text(encoding="utf-8"))
        for network in (model["detector"], model["landmarks"]):
            row = self.rows[network["file"]]
            size = network["input"]["width"], network["input"]["height"]
            self.assertEqual(size, (int(row["width"]), int(row["height"])), network["file"])

    def test_together_they_stay_small(self):
        sizes = [f.stat().st_size for f in MODELS.glob("*.onnx")]
        self.assertLess(sum(sizes), LARGEST_BYTES)


if __name__ == "__main__":
    unittest.main()

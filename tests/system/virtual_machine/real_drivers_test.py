#!/usr/bin/python3
"""Cameras and loopback devices of real drivers, in a small machine with Debian's kernel: vivid plays
the camera, v4l2loopback the virtual one. `real_drivers_test.py --lanternfly PROGRAM [--sanitizers
WHICH] [--accelerator kvm|tcg]`. Exit 77: the machine lacks what this needs. One machine runs all
scenarios (guest.py); each test looks at what one of them wrote down."""

import argparse
import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import machine

OPTIONS = None
PATIENCE = 540  # seconds, for everything
WIDTH, HEIGHT = 320, 180
LEFT, RIGHT = (192, 32, 64), (32, 64, 192)  # colours of the recorded camera's halves
BARS = [(191, 191, 191), (191, 191, 0), (0, 191, 191), (0, 191, 0), (191, 0, 191), (191, 0, 0),
        (0, 0, 191), (0, 0, 0)]  # vivid's picture
TOLERANCE = 12  # of colours that went to YUV and back twice
CAMERA = {"name": "vivid", "id": "platform-vivid.0-video-index0", "kind": "builtIn",
          "transport": "builtIn"}
# vivid's sizes, each with its fastest rate.
SIZES = {(320, 180): 60, (640, 360): 40, (640, 480): 25, (1280, 720): 12.5, (1920, 1080): 5,
         (3840, 2160): 2}
RATES = [1, 2, 4, 5, 10, 12.5, 15, 25, 30, 40, 50, 60]  # of the smallest
BUSY = "vivid is in use by another program; close it there"
GONE = "camera vivid is gone; plug it in again, its last picture stays until then"
DENIED = ("there are cameras, but no permission to use them: add yourself to the group \"video\" "
          "(sudo usermod -aG video $USER) and log in again")
WELL = "camera vivid is there"


def record_halves(file):
    halves = "".join(f"color=c=0x{r:02x}{g:02x}{b:02x}:s={WIDTH // 2}x{HEIGHT}:r=30:d=2[{side}];"
                     for side, (r, g, b) in (("l", LEFT), ("r", RIGHT)))
    subprocess.run(["ffmpeg", "-v", "error", "-filter_complex",
                    halves + "[l][r]hstack,scale=out_color_matrix=bt709", "-pix_fmt", "yuv420p",
                    "-colorspace", "bt709", str(file)], check=True)


def rgb_of(yuyv, x, y):
    """What a reader makes of it: BT.601, video range."""
    at = (y * WIDTH + x) // 2 * 4
    luma, u, v = yuyv[at + x % 2 * 2] - 16, yuyv[at + 1] - 128, yuyv[at + 3] - 128
    return (1.164 * luma + 1.596 * v, 1.164 * luma - 0.392 * u - 0.813 * v, 1.164 * luma + 2.017 * u)


class RealDrivers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="lanternfly-machine-")
        cls.addClassCleanup(folder.cleanup)
        cls.share = Path(folder.name)
        record_halves(cls.share / "halves.mp4")
        guest = Path(__file__).resolve().parent / "guest.py"
        try:
            OPTIONS.machine.run(["/usr/bin/python3", "-B", str(guest),
                                 str(Path(OPTIONS.lanternfly).resolve()), machine.SHARE],
                                cls.share, PATIENCE, OPTIONS.accelerator)
        except subprocess.TimeoutExpired:
            print(f"the machine was still busy after {PATIENCE} s", file=sys.stderr)
        results = cls.share / "results"
        lines = results.read_text(encoding="utf-8").splitlines() if results.exists() else []
        cls.facts = {facts["scenario"]: facts for facts in map(json.loads, lines)}
        for name, facts in cls.facts.items():
            print(f"{facts['seconds']:6.1f} s  {name}")

    def facts_of(self, scenario):
        facts = self.facts.get(scenario)
        if not facts:
            self.fail(f"the machine did not come to it:\n{machine.console_of(self.share)[-3000:]}")
        if "error" in facts:
            said = [f"{file.name}: {file.read_text()}" for file in sorted(self.share.glob("*.said"))]
            self.fail("\n".join([facts["error"], *said]))
        return facts

    def assert_near(self, found, wanted, what):
        for one, value in zip(found, wanted):
            self.assertAlmostEqual(one, value, delta=TOLERANCE, msg=f"{what}: {found}")

    def assert_well(self, status):
        self.assertEqual(status["camera"], {"state": "sending", "name": "vivid", "problem": ""})

    def assert_told(self, facts, problems):
        """Once each, in this order, and at last that all is well."""
        said = [line.removeprefix("lanternfly: ") for line in facts["said"]]
        # An emulated camera may pause; that there are no networks is as it should be.
        other = ("sends no pictures", "hand model")
        told = [line for line in said if not any(part in line for part in other)]
        self.assertEqual([line for line in told if line != WELL], problems, said)
        self.assertEqual(told[-1], WELL, said)

    def test_the_camera_is_listed_with_its_formats_and_rates(self):
        camera, = self.facts_of("a_camera_is_found")["cameras"]
        self.assertEqual({key: camera[key] for key in CAMERA}, CAMERA)
        formats = [one for one in camera["formats"] if one["encoding"] == "YUYV"]
        self.assertEqual({(one["width"], one["height"]):
                          max(rate["maximum"] for rate in one["framesPerSecond"])
                          for one in formats}, SIZES)
        self.assertEqual([rate["maximum"] for rate in formats[0]["framesPerSecond"]], RATES)

    def test_its_frames_are_shown_and_recorded(self):
        facts = self.facts_of("a_camera_is_recorded")
        self.assert_well(facts["status"])
        self.assertEqual(facts["sent"]["code"], 0)
        self.assertGreaterEqual(json.loads(facts["sent"]["out"])["frames"],
                                facts["status"]["frames"])
        self.assertEqual(facts["code"], 0)
        pixels = subprocess.run(["ffmpeg", "-v", "error", "-i", str(self.share / "camera.mp4"),
                                 "-pix_fmt", "rgb24", "-f", "rawvideo", "-"],
                                capture_output=True, check=True).stdout
        last = pixels[-WIDTH * HEIGHT * 3:]
        bar = WIDTH // len(BARS)
        for index, colour in enumerate(BARS):
            at = (HEIGHT * 3 // 4 * WIDTH + index * bar + bar // 2) * 3  # below vivid's text
            self.assert_near(last[at:at + 3], colour, f"bar {index}")

    def test_a_camera_that_another_program_has_is_busy_until_it_is_free(self):
        facts = self.facts_of("another_program_has_the_camera")
        self.assertEqual(facts["busy"]["camera"],
                         {"state": "silent", "name": "vivid", "problem": BUSY})
        self.assertEqual(facts["without"]["frames"], 0)
        self.assert_well(facts["after"])
        self.assert_told(facts, [BUSY])

    def test_a_camera_that_is_pulled_out_is_missed_and_comes_back(self):
        facts = self.facts_of("a_camera_is_pulled_out_and_comes_back")
        self.assertEqual(facts["gone"]["camera"],
                         {"state": "gone", "name": "vivid", "problem": GONE})
        self.assertEqual(facts["without"]["frames"], 0)
        self.assert_well(facts["back"])
        self.assertEqual(facts["taken"]["camera"]["problem"], BUSY)
        self.assert_well(facts["after"])
        self.assert_told(facts, [GONE, GONE, BUSY])

    def test_without_permission_it_says_how_to_get_it(self):
        facts = self.facts_of("a_camera_is_denied")
        self.assertEqual(facts["listed"], {"code": 1, "out": "", "err": f"lanternfly: {DENIED}\n"})
        self.assertEqual(facts["denied"]["camera"]["problem"], DENIED)
        self.assertEqual(facts["without"]["frames"], 0)
        self.assert_well(facts["after"])
        self.assert_told(facts, [DENIED])

    def assert_halves(self, file):
        frame = (self.share / file).read_bytes()
        self.assertEqual(len(frame), WIDTH * HEIGHT * 2)
        for x, colour in ((WIDTH // 4, LEFT), (WIDTH * 3 // 4, RIGHT)):
            self.assert_near(rgb_of(frame, x, HEIGHT // 2), colour, file)

    def test_two_programs_read_the_loopback_device_and_it_goes_on_without_them(self):
        facts = self.facts_of("others_read_the_picture")
        self.assert_halves("one.yuyv")
        self.assert_halves("two.yuyv")
        output, = facts["unread"]["outputs"]
        self.assertEqual((output["name"], output["problem"]), ("/dev/video10", ""))
        self.assertGreater(output["sentFrames"], facts["sent"])

    def test_the_own_loopback_device_is_no_camera_and_another_one_is(self):
        own = self.facts_of("others_read_the_picture")
        self.assertEqual([camera["name"] for camera in own["meanwhile"]], ["vivid"])
        named = self.facts_of("a_named_loopback_device_is_a_camera_for_others")
        self.assert_halves("named.yuyv")
        self.assertEqual([(camera["name"], camera["transport"]) for camera in named["cameras"]],
                         [("vivid", "builtIn"), ("Other", "virtual")])


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--lanternfly", required=True)
    parser.add_argument("--sanitizers", default="", help="which the program was built with")
    parser.add_argument("--accelerator", choices=["kvm", "tcg"], help="the best if left out")
    OPTIONS, rest = parser.parse_known_args()
    if OPTIONS.sanitizers:
        print(f"skipped: the program is built with sanitizers ({OPTIONS.sanitizers}) and would be "
              "too slow in an emulated machine")
        sys.exit(77)
    try:
        OPTIONS.machine = machine.Machine()
    except machine.Lacking as lacking:
        print(f"skipped: {lacking}; make deps installs it")
        sys.exit(77)
    unittest.main(argv=[sys.argv[0], *rest])

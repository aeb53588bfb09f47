"""Every kind of fault that check_layers.py knows is planted in a small tree and must be found."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
TABLE = """
[rooms]
ground = { path = "engine/ground", may_include = [] }
upper = { path = "engine/upper", may_include = ["ground"] }
attic = { path = "engine/upper/attic", may_include = ["ground", "upper"] }
app = { path = "app", may_include = ["*"] }
[[libraries]]
name = "poppler"
headers = ["poppler"]
only_in = ["engine/upper/attic"]
"""
TREE = {
    "tools/layers.toml": TABLE,
    "engine/ground/CMakeLists.txt": "room(ground SOURCES Floor.cc)",
    "engine/ground/Floor.h": "#include <vector>\n",
    "engine/ground/Floor.cc": '#include "ground/Floor.h"\n',
    "engine/upper/CMakeLists.txt": "room(upper\n  SOURCES Room.cc # rooms\n  ROOMS ground\n  LIBRARIES z)",
    "engine/upper/Room.h": '#include "ground/Floor.h"\n',
    "engine/upper/attic/CMakeLists.txt": "room(attic ROOMS ground upper)",
    "engine/upper/attic/Roof.h": '#include "upper/Room.h"\n#include "Beam.h"\n#include <poppler.h>\n',
    "engine/upper/attic/Beam.h": "",
    "app/Main.cc": '#include "upper/attic/Roof.h"\n#include "ground/Floor.h"\n',
}


class CheckLayers(unittest.TestCase):
    def check(self, **changes):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in {**TREE, **changes.pop("files", {})}.items():
                path = Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text)
            run = subprocess.run([sys.executable, str(ROOT / "tools/check_layers.py"),
                                  "--root", folder], capture_output=True, text=True)
            self.assertEqual(run.stderr, "")
            return run.returncode, run.stdout

    def refused(self, files, *expected):
        code, said = self.check(files=files)
        self.assertEqual(code, 1, said)
        for words in expected:
            self.assertIn(words, said)
        self.assertEqual(len(said.splitlines()), 1, said)

    def test_a_tree_that_keeps_the_rules_passes(self):
        self.assertEqual(self.check(), (0, "every include is allowed\n"))

    def test_an_include_of_a_higher_room_is_refused(self):
        self.refused({"engine/ground/Floor.h": "\n\n#include \"upper/Room.h\"\n"},
                     "engine/ground/Floor.h:3: ground may not include upper")

    def test_a_nested_room_is_a_room_of_its_own(self):
        self.refused({"engine/upper/Room.h": '#include "upper/attic/Roof.h"\n'},
                     "upper may not include attic")

    def test_a_relative_path_is_no_way_around(self):
        self.refused({"engine/ground/Floor.h": '#  include "../upper/Room.h"\n'},
                     "ground may not include upper")

    def test_a_library_outside_its_folder_is_refused(self):
        self.refused({"engine/upper/Room.h": "#include <poppler/glib.h>\n"},
                     "engine/upper/Room.h:1", "poppler stays in engine/upper/attic")

    def test_a_file_outside_every_room_is_refused(self):
        self.refused({"engine/shed/Box.h": ""}, "engine/shed/Box.h: belongs to no room")

    def test_a_header_of_no_room_is_refused(self):
        self.refused({"engine/upper/Room.h": '#include "shed/Box.h"\n'}, "is in no room")

    def test_a_cmake_list_that_differs_from_the_table_is_refused(self):
        self.refused({"engine/upper/CMakeLists.txt": "room(upper SOURCES Room.cc LIBRARIES z)"},
                     "engine/upper/CMakeLists.txt: room(upper) lists []")
        self.refused({"engine/ground/CMakeLists.txt": "room(ground ROOMS upper)"},
                     "room(ground) lists ['upper']")

    def test_rooms_that_include_each_other_are_refused(self):
        table = TABLE.replace('"engine/ground", may_include = []',
                              '"engine/ground", may_include = ["upper"]')
        code, said = self.check(files={"tools/layers.toml": table})
        self.assertEqual(code, 1)
        self.assertIn("ground and upper include each other", said)


if __name__ == "__main__":
    unittest.main()

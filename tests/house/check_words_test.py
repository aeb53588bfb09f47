"""Each forbidden kind of words is planted in a small tree and must be found; their likes must not."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


class CheckWords(unittest.TestCase):
    def check(self, text):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "Note.h").write_text(text)
            run = subprocess.run([sys.executable, str(ROOT / "tools/check_words.py"),
                                  "--root", folder], capture_output=True, text=True)
            self.assertEqual(run.stderr, "")
            return run.returncode, run.stdout

    def test_forbidden_words_are_found_with_their_line(self):
        for words in ("TO" "DO later", "FIX" "ME", "see Pa" "rt 5.2", "from spec" ".md",
                      "/wo" "rk/main/file", "/ro" "ot/.cache", "/ho" "me/ada/file"):
            code, said = self.check(f"// fine\n// {words}\n")
            self.assertEqual(code, 1, words)
            self.assertTrue(said.startswith("Note.h:2: "), said)

    def test_ordinary_words_pass(self):
        for words in ("part of the picture", "the working set", "a method of todos", "work/rest",
                      "root/child", "version 5.2", "$HOME/.config", "parts per million"):
            self.assertEqual(self.check(f"// {words}\n"), (0, "no forbidden words\n"), words)


if __name__ == "__main__":
    unittest.main()

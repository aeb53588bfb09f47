"""The README's code is the code of EmbedExample.cc, which the compiler has seen."""

import re
import textwrap
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


class Readme(unittest.TestCase):
    def test_the_embedding_code_is_the_compiled_code(self):
        source = (ROOT / "tests/house/EmbedExample.cc").read_text()
        compiled = re.search(r"// README begin\n(.*?) *// README end", source, re.DOTALL).group(1)
        shown = re.search(r"```cpp\n(.*?)```", (ROOT / "README.md").read_text(), re.DOTALL).group(1)
        self.assertEqual(shown, textwrap.dedent(compiled))

    def test_links_lead_to_files(self):
        for page in [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *(ROOT / "docs").glob("*.md")]:
            prose = re.sub(r"```.*?```", "", page.read_text(), flags=re.DOTALL)
            for link in re.findall(r"\]\((?!https?:|#)([^)#]+)", prose):
                self.assertTrue((page.parent / link).exists(), f"{page.name}: {link}")


if __name__ == "__main__":
    unittest.main()

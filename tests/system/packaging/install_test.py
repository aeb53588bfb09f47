#!/usr/bin/python3
"""Holds what `cmake --install` puts down, and the Debian package, to what a user of them needs:
`install_test.py --cmake CMAKE --build FOLDER [--cpack CPACK]`."""

import argparse
import configparser
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree
from pathlib import Path

OPTIONS = None
PATIENCE = 60  # seconds


def run(*command, **settings):
    return subprocess.run(command, capture_output=True, text=True, **settings)


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="lanternfly-install-")
        cls.prefix = Path(cls.folder.name) / "prefix"
        installed = run(OPTIONS.cmake, "--install", OPTIONS.build, "--prefix", str(cls.prefix))
        if installed.returncode != 0:
            raise RuntimeError(installed.stdout + installed.stderr)
        cls.program = cls.prefix / "bin" / "lanternfly"
        cls.environment = {**os.environ, "XDG_RUNTIME_DIR": cls.folder.name,
                           "XDG_CONFIG_HOME": cls.folder.name + "/config"}
        for variable in ("DISPLAY", "WAYLAND_DISPLAY", "LANTERNFLY_PDF_WORKER"):
            cls.environment.pop(variable, None)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def lanternfly(self, *arguments):
        return run(str(self.program), *arguments, env=self.environment)

    def test_the_program_takes_its_networks_and_pages_from_where_it_is(self):
        found = {one["about"]: one for one in
                 json.loads(self.lanternfly("doctor", "--json").stdout)}
        self.assertEqual(found["hand networks"]["text"],
                         str(self.prefix / "share/lanternfly/models"))
        self.assertEqual(found["PDF pages"]["state"], "well", found["PDF pages"])

    def test_it_presents(self):
        deck = self.prefix / "share/lanternfly/demo/deck.pdf"
        show = subprocess.Popen([str(self.program), "present", str(deck), "--camera", "demo",
                                 "--no-window", "--size", "320x180"], env=self.environment,
                                stdout=subprocess.DEVNULL)
        try:
            status = {}
            end = time.monotonic() + PATIENCE
            while time.monotonic() < end and not (status.get("frames", 0) > 2
                                                  and status.get("page") == 1):
                asked = self.lanternfly("send", "status")
                status = json.loads(asked.stdout) if asked.returncode == 0 else {}
            self.assertGreater(status.get("frames", 0), 2)
            self.assertEqual(status["page"], 1)
        finally:
            show.send_signal(signal.SIGTERM)
        self.assertEqual(show.wait(PATIENCE), 0)

    def test_the_manual_knows_every_command_and_option(self):
        manual = self.prefix / "share/man/man1"
        commands = self.subcommands()
        self.assertIn("present", commands)
        text = (manual / "lanternfly.1").read_text().replace("\\-", "-")
        for command in commands:
            self.assertRegex(text, rf"\.B {re.escape(command)}\b")
        text = (manual / "lanternfly-present.1").read_text().replace("\\-", "-")
        for option in self.options("present"):
            if option not in ("--help", "--save-settings"):
                self.assertIn(option, text)
        self.assertIn("--save-settings", text)

    def subcommands(self):
        text = self.lanternfly("--help").stdout.split("Subcommands:")[1]
        return re.findall(r"^  ([a-z][a-z-]*)", text, re.MULTILINE)

    def options(self, command):
        return sorted(set(re.findall(r"^  (?:-\w,)?(--[a-z][a-z-]+)",
                                     self.lanternfly(command, "--help").stdout, re.MULTILINE)))

    def complete(self, *words):
        script = self.prefix / "share/bash-completion/completions/lanternfly"
        line = " ".join(f"'{word}'" for word in (self.program, *words))
        asked = run("bash", "-c", f"source '{script}'; COMP_WORDS=({line}); "
                                  f"COMP_CWORD={len(words)}; _lanternfly; "
                                  "printf '%s\\n' \"${COMPREPLY[@]}\"", env=self.environment)
        self.assertEqual(asked.returncode, 0, asked.stderr)
        return asked.stdout.split()

    def test_the_shell_completes_commands_options_and_what_can_be_sent(self):
        self.assertEqual(self.complete("pres"), ["present"])
        self.assertIn("--no-window", self.complete("present", "--no"))
        self.assertIn("next-page", self.complete("send", "next"))
        self.assertIn("demo", self.complete("present", "--camera", "de"))

    def test_the_desktop_finds_it(self):
        share = self.prefix / "share"
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(share / "applications/org.lanternfly.Lanternfly.desktop", encoding="utf-8")
        self.assertEqual(entry["Desktop Entry"]["Exec"], "lanternfly present %f")
        icon = share / "icons/hicolor/scalable/apps/org.lanternfly.Lanternfly.svg"
        self.assertEqual(xml.etree.ElementTree.parse(icon).getroot().tag,
                         "{http://www.w3.org/2000/svg}svg")
        about = xml.etree.ElementTree.parse(
            share / "metainfo/org.lanternfly.Lanternfly.metainfo.xml").getroot()
        self.assertEqual(about.findtext("id"), "org.lanternfly.Lanternfly")
        version = self.lanternfly("--version").stdout.split()[-1]
        self.assertIn(version, [release.get("version") for release in about.iter("release")])


class Packaged(unittest.TestCase):
    def setUp(self):
        if not OPTIONS.cpack:
            self.skipTest("no package of this build")
        self.folder = tempfile.TemporaryDirectory(prefix="lanternfly-package-")
        self.addCleanup(self.folder.cleanup)

    def test_the_package_holds_a_program_that_runs_and_names_what_it_needs(self):
        here = Path(self.folder.name)
        made = run(OPTIONS.cpack, "-G", "DEB", "-B", str(here), cwd=OPTIONS.build)
        self.assertEqual(made.returncode, 0, made.stdout + made.stderr)
        package, = here.glob("lanternfly_*.deb")
        needs = run("dpkg-deb", "--field", str(package), "Depends").stdout
        for library in ("libqt6widgets6", "libpipewire-0.3-0", "libopencv-dnn406"):
            self.assertIn(library, needs)
        root = here / "root"
        unpacked = run("dpkg-deb", "--extract", str(package), str(root))
        self.assertEqual(unpacked.returncode, 0, unpacked.stderr)
        for name in ("bin/lanternfly", "libexec/lanternfly/lanternfly-pdf-worker",
                     "share/lanternfly/models/hand_model.json", "share/man/man1/lanternfly.1",
                     "share/applications/org.lanternfly.Lanternfly.desktop",
                     "share/doc/lanternfly/copyright"):
            self.assertTrue((root / "usr" / name).is_file(), name)
        examined = run(str(root / "usr/bin/lanternfly"), "doctor", "--json")
        self.assertIn(str(root / "usr/share/lanternfly/models"), examined.stdout)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--cmake", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("--cpack")
    OPTIONS = parser.parse_args()
    unittest.main(argv=sys.argv[:1])

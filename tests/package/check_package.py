#!/usr/bin/env python3
"""Installs into a staging root and starts the programs from there.

Usage: check_package.py <build folder> <cmake>

Checks of the desktop entry, the AppStream data and the manual pages are left out where their tools
are missing, which is told.
"""
import gzip
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

BUILD, CMAKE = sys.argv[1:3]

SHIPPED = """
bin/sigmira
bin/simlogger
share/applications/sigmira.desktop
share/bash-completion/completions/sigmira
share/doc/sigmira/examples/fleet/run-fleet
share/doc/sigmira/help/help.css
share/doc/sigmira/help/method_average/index.html
share/doc/sigmira/help/sigmira_quick_guide/index.html
share/icons/hicolor/48x48/apps/sigmira.png
share/icons/hicolor/256x256/apps/sigmira.png
share/icons/hicolor/scalable/apps/sigmira.svg
share/man/man1/sigmira.1.gz
share/man/man1/simlogger.1.gz
share/man/man5/vsd.5.gz
share/metainfo/net.sigmira.Sigmira.metainfo.xml
share/mime/packages/sigmira.xml
share/sigmira/templates/drive.vsd
""".split()


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.prefix = pathlib.Path(cls.scratch.name) / "prefix"
        cls.home = pathlib.Path(cls.scratch.name) / "home"
        cls.home.mkdir()
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", cls.prefix], check=True,
                       stdout=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def run_here(self, *command, folder=None):
        run = subprocess.run([str(part) for part in command], cwd=folder, text=True, timeout=120,
                             capture_output=True, env={"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                                                       "HOME": str(self.home)})
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return run.stdout

    def test_ships_all_files(self):
        for name in SHIPPED:
            self.assertTrue((self.prefix / name).is_file(), name)
        for path in self.prefix.rglob("*"):
            self.assertFalse(path.stat().st_mode & 0o022, f"others may write {path}")

    def test_programs_run_from_there(self):
        templates = self.prefix / "share/sigmira/templates"
        self.assertIn("5.04", self.run_here(self.prefix / "bin/sigmira", "-v"))
        result = self.run_here(self.prefix / "bin/sigmira", "-q", "-i", "-f", "drive.vsd", "-s",
                               "Virt.Trip.Distance", "drive_0001.bin", "drive_0002.bin",
                               folder=templates)
        self.assertEqual(result, "4.28\n")
        self.assertIn("drive", self.run_here(self.prefix / "bin/simlogger", "presets"))

    def test_metadata_is_valid(self):
        for tool, *arguments in (
                ("desktop-file-validate", "share/applications/sigmira.desktop"),
                ("appstreamcli", "validate", "--no-net",
                 "share/metainfo/net.sigmira.Sigmira.metainfo.xml")):
            with self.subTest(tool):
                if not shutil.which(tool):
                    self.skipTest(f"{tool} is missing")
                self.run_here(tool, *arguments, folder=self.prefix)

    def test_desktop_entry_opens_the_file_types_that_are_defined(self):
        names = {"m": "http://www.freedesktop.org/standards/shared-mime-info"}
        types = xml.etree.ElementTree.parse(self.prefix / "share/mime/packages/sigmira.xml")
        defined = {kind.get("type") for kind in types.findall("m:mime-type", names)}
        patterns = {glob.get("pattern") for glob in types.findall("*/m:glob", names)}
        entry = (self.prefix / "share/applications/sigmira.desktop").read_text()
        line = next(l for l in entry.splitlines() if l.startswith("MimeType="))
        self.assertEqual(set(line.partition("=")[2].strip(";").split(";")), defined)
        self.assertEqual(patterns, {"*.vsd", "*.tvlive", "*.dbc"})

    @unittest.skipUnless(shutil.which("groff"), "groff is missing")
    def test_manual_pages_have_no_faults(self):
        for page in sorted((self.prefix / "share/man").rglob("*.gz")):
            run = subprocess.run(["groff", "-ww", "-man", "-Tutf8", "-z"], capture_output=True,
                                 input=gzip.decompress(page.read_bytes()))
            self.assertEqual(run.stderr, b"", page.name)

    def test_completion_offers_the_options_of_the_program(self):
        script = self.prefix / "share/bash-completion/completions/sigmira"
        words = self.run_here("bash", "-c", f"source '{script}'; COMP_WORDS=(sigmira -); COMP_CWORD=1;"
                              "_sigmira; printf '%s\\n' \"${COMPREPLY[@]}\"").split()
        usage = self.run_here(self.prefix / "bin/sigmira", "--help")
        shown = {line.split()[0] for line in usage.splitlines() if line.startswith("\t ")}
        self.assertEqual(shown - set(words), set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

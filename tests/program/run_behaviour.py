#!/usr/bin/env python3
"""Runs the program against a hostile surrounding: signals, full disks, closed pipes, settings.

    run_behaviour.py SIGMIRA SIMLOGGER TEMPLATES
"""
import os
import pathlib
import pty
import re
import select
import signal
import subprocess
import sys
import tempfile
import unittest

import golden

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from desktop import running

PROGRAM, SIMLOGGER, TEMPLATES = (str(pathlib.Path(a).resolve()) for a in sys.argv[1:4])
VSD = f"{TEMPLATES}/drive.vsd"
LOGS = [f"{TEMPLATES}/drive_0001.bin", f"{TEMPLATES}/drive_0002.bin"]
RESULTS = ["-q", "-f", VSD, "-s", "Virt.*.*", *LOGS]
# Takes from root what lets it pass over the modes of files. Another user might not get to the
# program at all.
PLAIN = (["setpriv", "--bounding-set=-dac_override,-dac_read_search,-fowner"]
         if os.getuid() == 0 else [])
DEADLINE = 60


class Behaviour(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.home = pathlib.Path(self.folder.name)
        self.settings = self.home / ".sigmira"

    def start(self, *arguments, prefix=(), stderr=subprocess.PIPE, **options):
        return running([*prefix, PROGRAM, *arguments], env=golden.environment(self.home),
                       stdin=subprocess.DEVNULL, stderr=stderr, **options)

    def record(self, *arguments):
        subprocess.run([SIMLOGGER, "record", *arguments, "-o", str(self.home / "logs")], check=True,
                       timeout=DEADLINE, capture_output=True)

    def run_program(self, *arguments, **options):
        options.setdefault("stdout", subprocess.PIPE)
        with self.start(*arguments, **options) as process:
            out, err = process.communicate(timeout=DEADLINE)
            return process.returncode, (out or b"").decode(), err.decode()

    def test_paths_are_remembered_in_full(self):
        (self.home / "to").mkdir()
        (self.home / "to/x.bin").write_text("")
        (self.home / "x.tvlive").write_text("TITLE=x\n")
        dbc = self.home / "a.dbc"
        dbc.write_text("BO_ 1 M: 8 E\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" E\n")
        for arguments in ["to/x.bin"], ["x.tvlive"], ["-d", "a.dbc"]:
            self.assertEqual(self.run_program("-q", *arguments, cwd=self.home)[0], 0)
        text = self.settings.read_text()
        for line in (f"log_path={self.home}/to\n", f"live_path={self.home}\n", f"dbFile={dbc}\n",
                     "vsdFile=./dummy\n"):
            self.assertIn(line, text)
        self.assertIn("TITLE=x\n", (self.home / ".sigmiralive").read_text())
        self.assertEqual(self.settings.stat().st_mode & 0o777, 0o600)
        self.assertTrue(self.run_program("-l")[1].startswith("Can\n\tM\n\t\tS\nLogger\n"))

    def test_listing_leaves_the_settings_alone(self):
        self.settings.write_text("[global]\n# mine\ndbFile=./dummy\nvsdFile=./dummy\n")
        before = self.settings.read_bytes()
        for arguments, expected in ((["-l", "-f", VSD], 0),
                                    (["-l", "-d", "."], 1), (["-l", "-f", "."], 1),
                                    (["--check", "-f", "."], 1), (["--check", "-d", "x"], 1)):
            self.assertEqual(self.run_program(*arguments)[0], expected, arguments)
            self.assertEqual(self.settings.read_bytes(), before, arguments)

    def test_settings_that_cannot_be_saved_cost_no_results(self):
        self.settings.write_text("")
        (self.home / ".sigmira_siglist").write_text("")
        os.chmod(self.home, 0o555)
        self.addCleanup(os.chmod, self.home, 0o755)
        status, out, err = self.run_program(*RESULTS, prefix=PLAIN)
        self.assertEqual(status, 0, err)
        self.assertIn("WRN", err)
        self.assertEqual(len(out.splitlines()), 2)

    def test_without_a_place_for_its_settings_it_does_not_start(self):
        self.home = self.home / "missing"
        for arguments in (["-q"], ["-l"], ["-o", *LOGS], ["--check", "a.dbc"]):
            status, out, err = self.run_program(*arguments)
            self.assertEqual((status, out), (1, ""), arguments)
            self.assertEqual(err, f"\033[31mERR Couldn't create {self.home}/.sigmira\033[0m\n")
        for arguments in (["-h"], ["--help"], ["-v"], ["-e"]):
            status, out, err = self.run_program(*arguments)
            self.assertEqual((status, err), (0, ""), arguments)
            self.assertGreater(len(out), 10)

    def test_what_may_not_be_read_is_told(self):
        for name in ("log.bin", "a.dbc", "logs/x.bin"):
            (self.home / name).parent.mkdir(exist_ok=True)
            (self.home / name).write_text("[global]\n")
        for name in ("log.bin", "a.dbc", "logs"):
            os.chmod(self.home / name, 0)
        self.addCleanup(os.chmod, self.home / "logs", 0o755)
        for argument, expected, told in (
                ("log.bin", 0, "INF {} is not a valid log file, skipping"),
                ("a.dbc", 0, "WRN Could not open DBC file: {}"),
                # A folder that cannot be opened ends the run without a word.
                ("logs", 1, "")):
            path = self.home / argument
            status, out, err = self.run_program("-q", str(path), prefix=PLAIN)
            self.assertEqual((status, out), (expected, ""), argument)
            self.assertIn(told.format(path), err)

    def test_a_dump_prints_every_frame(self):
        self.record("--preset", "small", "--frames", "50")
        times = {"-o": r"\d+\.\d{3}0", "-m": r"  2024-03-04 08:00:0\d\.\d{3}"}
        for option, time in times.items():
            status, out, err = self.run_program(option, str(self.home / "logs/small.bin"))
            self.assertEqual((status, err), (0, ""))
            lines = out.splitlines()
            self.assertTrue(lines[0].startswith("date "))
            frame = re.compile(time + r" \d+ [0-9A-F]+x?\s+Rx d \d+( [0-9A-F]{2})*\s*")
            frames = [line for line in lines if frame.fullmatch(line)]
            self.assertEqual(len(frames), 49, out)  # one is the logger's own
        self.assertFalse(self.settings.read_text().count("vsdFile"), "definitions are not read")

    def test_a_full_disk_behind_standard_output_is_told(self):
        for arguments in (["-o", *LOGS], ["-l", "-f", VSD], ["-h"], ["--help"],
                          ["-v"], ["-e"], ["-Z"], ["--check", "-f", VSD],
                          RESULTS):
            with open("/dev/full", "wb") as full:
                status, _, err = self.run_program(*arguments, stdout=full)
            self.assertEqual(status, 1, arguments)
            self.assertIn("No space left on device", err)

    def test_closed_streams_are_no_files_of_its_own(self):
        status, _, err = self.run_program(*RESULTS, prefix=["sh", "-c", '"$@" >&-', "sh"])
        self.assertEqual(status, 1)
        self.assertIn("Bad file descriptor", err)
        self.settings.write_text("damaged")
        status, out, _ = self.run_program(*RESULTS, prefix=["sh", "-c", '"$@" <&- 2>&-', "sh"])
        self.assertEqual(status, 0)
        self.assertEqual(len(out.splitlines()), 2)
        self.assertNotIn("WRN", self.settings.read_text())

    def test_a_reader_that_leaves_ends_the_program_quietly(self):
        with self.start("-o", *LOGS, stdout=subprocess.PIPE) as process:
            process.stdout.readline()
            process.stdout.close()
            err = process.stderr.read().decode()
            self.assertEqual(process.wait(DEADLINE), -signal.SIGPIPE)
            self.assertEqual(err, "")

    def test_signals_end_a_dump_with_what_came_so_far(self):
        self.record("--preset", "bench", "--files", "3", "--frames", "400000")
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.start("-o", str(self.home / "logs"), stdout=subprocess.PIPE) as process:
                first = process.stdout.readline()
                process.send_signal(number)
                rest = process.stdout.read()
                self.assertEqual(process.wait(DEADLINE), 128 + number)
                self.assertTrue(first.startswith(b"date "))
                self.assertTrue(rest.endswith(b"\n"))

    def test_help_for_definitions_tells_the_keys_of_the_settings(self):
        keys = self.run_program("-e")[1].split("SETTINGS", 1)[1].split("NAMES", 1)[0]
        for key in ("ifname_N", "dbcfile_N", "dbcfile", "legacygps", "include", "postinclude",
                    "tolerant"):
            self.assertIn(f"\033[1;32m{key}\033[0m=", keys)

    def test_the_stand_in_tells_wrong_uses(self):
        small = ["record", "--preset", "small", "-o", str(self.home / "out")]
        for arguments, expected, told in (
                ([], 2, "no command given"),
                (["record", "-o", "x"], 2, "one of --scenario and --preset is needed"),
                (["record", "--preset", "nope", "-o", "x"], 2, "there is no preset 'nope'"),
                (["record", "--scenario", "/tmp", "-o", "x"], 1, "/tmp is a folder"),
                (["record", "--preset", "small", "-o", "/dev/full"], 1, "cannot make the directory"),
                ([*small, "--set", "bogus=1"], 1, "a recording has no key 'bogus'"),
                ([*small, "--frames", "-1"], 1, "'-1' is not a number that fits here"),
                (["serve"], 2, "either log files or a scenario are needed"),
                (["serve", __file__, "--port", "0"], 1, "is no recording"),
                (["serve", "--preset", "small", "--fault", "x"], 2, "there is no fault 'x'")):
            done = subprocess.run([SIMLOGGER, *arguments], capture_output=True, timeout=DEADLINE,
                                  stdin=subprocess.DEVNULL, check=False)
            self.assertEqual((done.returncode, done.stdout), (expected, b""), arguments)
            self.assertIn(told, done.stderr.decode())
        with open("/dev/full", "wb") as full:
            for arguments in (["--help"], ["presets"], ["scenario", "--preset", "drive"]):
                done = subprocess.run([SIMLOGGER, *arguments], stdout=full, stderr=subprocess.PIPE,
                                      timeout=DEADLINE, check=False)
                self.assertEqual(done.returncode, 1, arguments)
                self.assertIn(b"standard output could not be written", done.stderr)

    def test_a_progress_line_follows_a_stream_on_a_terminal_and_goes(self):
        terminal, end = pty.openpty()
        with running([SIMLOGGER, "serve", "--preset", "small", "--port", "0"],
                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as server:
            port = server.stdout.readline().decode().strip().rpartition(":")[2]
            stream = ["-q", "-n", "127.0.0.1", "-p", port, "-f", VSD]
            # The first one has the time to show a line until the second one does.
            with self.start(*stream, "--progress", stdout=subprocess.PIPE) as piped, \
                    self.start(*stream, stdout=subprocess.PIPE, stderr=end) as process:
                shown = b""
                while b"frames read\r" not in shown:
                    self.assertTrue(select.select([terminal], [], [], DEADLINE)[0], shown)
                    shown += os.read(terminal, 4096)
                for one in piped, process:
                    one.send_signal(signal.SIGINT)
                    self.assertEqual(one.wait(DEADLINE), 128 + signal.SIGINT)
                self.assertNotIn(b"\r", piped.stderr.read())
        os.close(end)
        while select.select([terminal], [], [], 0)[0]:
            try:
                shown += os.read(terminal, 4096)
            except OSError:  # nobody holds the other end any more
                break
        os.close(terminal)
        self.assertTrue(shown.endswith(b"\033[K"), shown)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=1)

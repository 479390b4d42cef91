#!/usr/bin/env python3
"""Runs examples/fleet as its users do. Usage: check_fleet.py <fleet folder> <sigmira> <simlogger>

Status 77 without GNU parallel, after the check that the script says so.
"""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from desktop import wait_for

FLEET, SIGMIRA, SIMLOGGER = (pathlib.Path(p).resolve() for p in sys.argv[1:4])
RECORDINGS = 8
SIGNALS = ["-s", "Virt.Trip.Distance", "-s", "Virt.Trip.Fuel"]


class Fleet(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        self.out = self.root / "out"
        self.environment = {"PATH": os.environ["PATH"], "HOME": scratch.name, "LC_ALL": "C.UTF-8",
                            "SIGMIRA": str(SIGMIRA), "RUN_FLEET": str(FLEET / "run-fleet")}

    def record(self):
        """A folder of recordings of different seeds, one with a blank in its name."""
        data = self.root / "data"
        data.mkdir()
        for seed in range(RECORDINGS):
            made = self.root / f"made {seed}"
            subprocess.run([SIMLOGGER, "record", "--preset", "drive", "--set", f"seed={seed + 1}",
                            "--set", "files=1", "--set", f"duration={50 + 5 * seed}", "-o", made],
                           check=True, capture_output=True)
            next(made.glob("*.bin")).rename(data / f"car {seed}.bin")
            if seed > 0:
                shutil.rmtree(made)
        self.vsd = self.root / "made 0" / "drive.vsd"
        return data

    def start(self, *arguments, script="run-fleet", **more):
        return subprocess.Popen([str(FLEET / script), *map(str, arguments)], text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                env=self.environment | more, start_new_session=True)

    def run_fleet(self, *arguments, status=0, **more):
        process = self.start(*arguments, **more)
        output, errors = process.communicate(timeout=200)
        self.assertEqual(process.returncode, status, errors + output)
        return errors

    def job(self, data):
        return ["-f", self.vsd, *SIGNALS, "-o", self.out, data]

    def finished(self, log="joblog"):
        """Numbers of the jobs in the log that ended well."""
        lines = (self.out / log).read_text().splitlines()[1:]
        return [int(line.split("\t")[0]) for line in lines if line.split("\t")[6] == "0"]

    def expected_table(self, data):
        rows = []
        for path in sorted(data.iterdir()):
            run = subprocess.run([SIGMIRA, "-q", "-f", self.vsd, *SIGNALS, path], text=True,
                                 env=self.environment, capture_output=True, check=True)
            head, row = run.stdout.splitlines()
            rows.append(f"{path}\t{row}\n")
        return f"recording\t{head}\n" + "".join(rows)

    def test_says_when_parallel_is_missing(self):
        few = self.root / "few"
        few.mkdir()
        for tool in ("bash", "env"):
            (few / tool).symlink_to(shutil.which(tool))
        (self.root / "x.vsd").touch()
        errors = self.run_fleet("-f", self.root / "x.vsd", "-s", "Virt.*.*", "-o", self.out, "x.bin",
                                status=2, PATH=str(few))
        self.assertIn("apt install parallel", errors)

    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is missing")
    def test_goes_on_after_an_interruption(self):
        data = self.record()
        expected = self.expected_table(data)
        process = self.start("-j", 1, *self.job(data))
        wait_for("the second row", (self.out / "rows" / "2").exists)
        os.killpg(process.pid, signal.SIGTERM)
        process.communicate(timeout=60)
        before = self.finished()
        self.assertFalse((self.out / "table.tsv").exists())

        self.run_fleet(*self.job(data))
        self.assertEqual((self.out / "table.tsv").read_text(), expected)
        self.assertEqual(sorted(self.finished()), list(range(1, RECORDINGS + 1)), "each once")
        self.assertEqual(self.finished()[:len(before)], before, "what was done is not done again")

        errors = self.run_fleet("-f", self.vsd, "-s", "Virt.Trip.Fuel", "-o", self.out, data, status=2)
        self.assertIn("belongs to other recordings or signals", errors)

    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is missing")
    def test_tells_failures_and_tries_them_again(self):
        data = self.record()
        broken = data / "broken.bin"
        broken.write_text("no recording")
        self.run_fleet(*self.job(data), status=1)
        self.assertEqual((self.out / "failed.tsv").read_text(), f"{broken}\n")
        self.assertIn(f"{broken}\t", (self.out / "messages.tsv").read_text())
        self.assertEqual(len((self.out / "table.tsv").read_text().splitlines()), RECORDINGS + 1)

        shutil.copy(data / "car 0.bin", broken)
        self.run_fleet(*self.job(data))
        self.assertEqual((self.out / "table.tsv").read_text(), self.expected_table(data))
        self.assertEqual((self.out / "failed.tsv").read_text(), "")

    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is missing")
    def test_array_job_gives_the_same_table(self):
        data = self.record()
        for task in range(3):
            self.run_fleet(*self.job(data), script="fleet.sbatch", SLURM_ARRAY_TASK_ID=str(task),
                           SLURM_ARRAY_TASK_COUNT="3", SLURM_CPUS_PER_TASK="1")
        self.assertFalse((self.out / "table.tsv").exists())
        self.run_fleet("--gather", "-o", self.out)
        self.assertEqual((self.out / "table.tsv").read_text(), self.expected_table(data))


if __name__ == "__main__":
    result = unittest.main(argv=sys.argv[:1], exit=False).result
    sys.exit(1 if not result.wasSuccessful() else 77 if result.skipped else 0)

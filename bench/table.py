#!/usr/bin/env python3
"""Measures sigmira against the floor programs and prints a table in Markdown.

The commands of a row run in turn, round after round, each as a process of its own with a home
directory of its own; a ratio is the median over the rounds of the ratios within one round. So a
machine that is busy for a while slows both sides down alike. One round before is not counted.
"""
import argparse
import glob
import hashlib
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time


class Run:
    """What one run of a command took: CPU and wall seconds, peak memory in MB."""

    def __init__(self, command, output, home):
        environment = dict(os.environ, HOME=home, LC_ALL="C")
        environment.pop("DISPLAY", None)
        with open(output, "wb") as out, tempfile.TemporaryFile() as messages:
            begin = time.perf_counter()
            process = subprocess.Popen(command, stdout=out, stderr=messages, env=environment)
            _, status, usage = os.wait4(process.pid, 0)
            self.wall = time.perf_counter() - begin
            process.returncode = os.waitstatus_to_exitcode(status)
            messages.seek(0)
            self.messages = messages.read().decode(errors="replace")
        if process.returncode != 0:
            sys.exit(f"{' '.join(command[:6])} ... ended with {process.returncode}:\n{self.messages}")
        self.cpu = usage.ru_utime + usage.ru_stime
        self.memory = usage.ru_maxrss / 1024


def median(values):
    return statistics.median(list(values))


def in_turn(commands, rounds, output, home):
    """Runs the commands in turn; returns for each of them its list of runs."""
    results = [[] for _ in commands]
    for number in range(rounds + 1):
        for command, runs in zip(commands, results):
            run = Run(command, output, home)
            if number > 0:
                runs.append(run)
    return results


def ratios(over, under, key="cpu"):
    return [getattr(a, key) / max(getattr(b, key), 1e-9) for a, b in zip(over, under)]


class Table:
    def __init__(self):
        self.failed = 0
        print("| work | measured | bar | goal | verdict | for scale |")
        print("|---|---|---|---|---|---|")

    def row(self, work, value, unit, bar, goal, scale):
        """`value` has to be at most `bar` and should be at most `goal`."""
        self.failed += value > bar
        verdict = "goal" if value <= goal else "bar" if value <= bar else "MISSED"
        print(f"| {work} | {value:.2f}{unit} | {bar:g}{unit} | {goal:g}{unit} | {verdict} | {scale} |",
              flush=True)


class Bench:
    def __init__(self, options, home):
        self.options = options
        self.home = home
        self.files = sorted(glob.glob(os.path.join(options.data, "bench_*.bin")))
        if len(self.files) < 4:
            sys.exit(f"no recording in {options.data}; scripts/bench makes one")
        self.frames = options.frames * len(self.files)
        self.table = None

    def vsd(self, name):
        return os.path.join(self.options.data, name)

    def floor(self, name, *arguments, files=None):
        return [os.path.join(self.options.floors, "floor-" + name), *arguments, *(files or self.files)]

    def sigmira(self, *arguments, files=None):
        return [self.options.sigmira, *arguments, *(files or self.files)]

    def query(self, vsd, pattern="Virt.*.*", files=None):
        return self.sigmira("-q", "-f", self.vsd(vsd), "-s", pattern, files=files)

    def in_turn(self, *commands, output=os.devnull):
        return in_turn(commands, self.options.rounds, output, self.home)

    def scale(self, runs, floor):
        nanoseconds = [median(r.cpu for r in side) / self.frames * 1e9 for side in (runs, floor)]
        return f"{nanoseconds[0]:.1f} against {nanoseconds[1]:.1f} ns CPU a frame"

    def check_text(self):
        """The ratio of two printers says something only if they print the same."""
        digests = []
        for command in (self.floor("asc", files=self.files[:2]), self.sigmira("-o", files=self.files[:2])):
            digest = hashlib.sha256()
            with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                  env=dict(os.environ, HOME=self.home)) as process:
                # In pieces: a process begins with the peak memory of the one that started it.
                while piece := process.stdout.read(1 << 16):
                    digest.update(piece)
            digests.append(digest.hexdigest())
        if digests[0] != digests[1]:
            sys.exit("floor-asc and sigmira -o print different texts")

    def printing(self):
        self.check_text()
        with tempfile.NamedTemporaryFile(dir=os.path.dirname(self.options.data)) as file:
            for work, output, bar, goal in (("`-o` to the null device", os.devnull, 2.0, 1.5),
                                            ("`-o` to a file", file.name, 1.6, 1.3)):
                floor, runs = self.in_turn(self.floor("asc"), self.sigmira("-o"), output=output)
                self.table.row(work, median(ratios(runs, floor)), "x", bar, goal, self.scale(runs, floor))

    def decoding(self):
        rows = (("10 signals", "bench_10.vsd", "Virt.*.*", 1.6, 1.3),
                ("100 signals", "bench_100.vsd", "Virt.*.*", 1.6, 1.3),
                ("all signals", "bench.vsd", "Can*.*.*", 2.0, 1.3))
        for work, vsd, pattern, bar, goal in rows:
            floor, runs = self.in_turn(self.floor("decode", self.vsd(vsd)), self.query(vsd, pattern))
            name = f"`-q`, {work}"
            self.table.row(name, median(ratios(runs, floor)), "x", bar, goal, self.scale(runs, floor))
            # The best round: other work on the machine can only make the wall time longer.
            wall = sorted(r.wall / r.cpu for r in runs)
            self.table.row(f"{name}: wall of CPU time, best round", wall[0], "x", 0.65, 0.55,
                           f"median {median(wall):.2f}x on {os.cpu_count()} processors")
            self.memory(name, vsd, floor, runs)

    def memory(self, name, vsd, floor, runs):
        peak = median(r.memory for r in runs)
        if vsd == "bench_10.vsd":
            self.table.row(f"{name}: peak memory", peak, " MB", 64, 40,
                           f"floor {median(r.memory for r in floor):.0f} MB")
        if vsd == "bench.vsd":
            # At most twice as many files as processors are held, at 32 bytes a frame.
            stored = int(re.search(r"stored (\d+)", floor[0].messages).group(1))
            flight = min(2 * os.cpu_count(), len(self.files)) * self.options.frames * 32 / 2**20
            self.table.row(f"{name}: memory a stored sample", (peak - flight) * 2**20 / stored, " B", 24, 20,
                           f"{peak:.0f} MB, of it {flight:.0f} MB for files in flight; "
                           f"{stored} samples, floor {median(r.memory for r in floor):.0f} MB")

    def growth(self):
        quarter = self.files[:len(self.files) // 4]
        few, many = self.in_turn(self.query("bench_100.vsd", files=quarter), self.query("bench_100.vsd"))
        times = len(self.files) / len(quarter)
        self.table.row(f"frames x {times:g}: CPU time by {times:g} times that of the fewer",
                       median(ratios(many, few)) / times, "x", 1.1, 1.0, "`-q`, 100 signals")
        few, many, floor_few, floor_many = self.in_turn(
            self.query("bench_few.vsd"), self.query("bench_many.vsd"),
            self.floor("decode", self.vsd("bench_few.vsd")), self.floor("decode", self.vsd("bench_many.vsd")))
        self.table.row("messages wanted x 10, equal frames", median(ratios(many, few)), "x", 1.15, 1.15,
                       f"floor {median(ratios(floor_many, floor_few)):.2f}x")

    def sample(self):
        return sorted(glob.glob(os.path.join(self.options.sample, "drive*.bin")))

    def serve(self, *arguments):
        """A logger that sends the recording as fast as it is asked; returns it with its port."""
        logger = subprocess.Popen([self.options.simlogger, "serve", *self.files, "--port", "0", "--speed", "max",
                                   *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        return logger, logger.stdout.readline().rsplit(":", 1)[1].strip()

    def live(self):
        """The client's own time: the logger is another process."""
        key = "a key of some length"
        loggers = [self.serve(), self.serve("--key", key)]
        (_, plain_port), (_, secret_port) = loggers
        ask = ["-q", "-f", self.vsd("bench.vsd"), "-s", "Can*.*.*"]
        try:
            files, plain, secret = self.in_turn(
                self.sigmira(*ask), [self.options.sigmira, *ask, "-n", "127.0.0.1", "-p", plain_port],
                [self.options.sigmira, *ask, "-n", "127.0.0.1", "-p", secret_port, "-y", key])
        finally:
            for logger, _ in loggers:
                logger.terminate()
                logger.wait()
        self.table.row("live plain, all signals: CPU time of the same from files", median(ratios(plain, files)), "x",
                       2.0, 1.5, self.scale(plain, files))
        self.table.row("live encrypted: CPU time of live plain", median(ratios(secret, plain)), "x", 1.5, 1.5,
                       self.scale(secret, plain))
        latencies = [subprocess.run([os.path.join(self.options.floors, "bench-live-latency")], check=True,
                                    capture_output=True, text=True).stdout.split()
                     for _ in range(self.options.rounds)]
        self.table.row("live latency at 5000 frames a second, longest of 300 answers",
                       median(float(words[3]) for words in latencies), " ms", 30, 10,
                       f"median answer {median(float(words[1]) for words in latencies):.2f} ms")

    def start(self):
        (runs,) = self.in_turn(self.sigmira("-q", "-f", os.path.join(self.options.sample, "drive.vsd"), "-s",
                                            "Virt.Trip.*", files=self.sample()))
        self.table.row("the sample from start to end, best round", min(r.wall for r in runs) * 1000, " ms", 50, 50,
                       f"wall; {median(r.cpu for r in runs) * 1000:.0f} ms CPU")

    def virtual(self):
        """Methods against loops written by hand over the same samples; then ten thousand signals."""
        result = subprocess.run([self.options.virtual, "--benchmark_format=json",
                                 "--benchmark_enable_random_interleaving"], stdout=subprocess.PIPE, check=True).stdout
        # The fastest of the rounds: other work on the machine can only make one longer.
        fastest = {run["run_name"].partition("/min_time")[0]: run["cpu_time"] for run in json.loads(result)["benchmarks"]
                   if run["aggregate_name"] == "min"}
        for work, name, bar in (("`max` of two inputs", "max of two", 3), ("`IIR`", "IIR", 3),
                                ("`expression`, five operators and three inputs", "expression", 4),
                                ("`average`", "average", 3)):
            method, by_hand = fastest[f"{name}/method"], fastest[f"{name}/by hand"]
            self.table.row(work, method / by_hand, "x", bar, bar,
                           f"{method:.1f} against {by_hand:.1f} ms CPU a million samples")
        self.table.row("10,000 virtual signals, each of the one before: made and computed",
                       fastest["10000 signals"], " ms", 1000, 1000, "CPU, in a small model")
        with tempfile.TemporaryDirectory(dir=self.home) as folder:
            many = os.path.join(folder, "many.vsd")
            self.write_many(many)
            (runs,) = self.in_turn(self.sigmira("-q", "-f", many, "-s", "Virt.Many.v9999", files=self.sample()))
        self.table.row("10,000 virtual signals over the sample, from start to end, best round",
                       min(r.wall for r in runs) * 1000, " ms", 1000, 1000,
                       f"wall; {median(r.cpu for r in runs) * 1000:.0f} ms CPU")

    def write_many(self, path):
        """Ten thousand sums in chains of a hundred."""
        dbc = os.path.abspath(os.path.join(self.options.sample, "drive_powertrain.dbc"))
        with open(path, "w") as file:
            file.write(f"[settings]\nifname_0=Powertrain\ndbcfile_0={dbc}\n")
            for number in range(9999, -1, -1):  # each stands ahead of what it refers to
                inputs = ["Powertrain.EngineData.EngineSpeed"]
                if number % 100:
                    inputs.append(f"Virt.Many.v{number - 1}")
                file.write(f"[Many.v{number}]\nmethod=sum\nstep=1000\n")
                file.writelines(f"signal_{i:02d}={name}\n" for i, name in enumerate(inputs, 1))

    def paint(self):
        """Ten million samples a signal: one signal, twelve, and the main thread's part."""
        output = subprocess.run([os.path.join(self.options.floors, "bench-paint"), "--benchmark_format=json",
                                 f"--benchmark_repetitions={self.options.rounds}"],
                                check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
        results = {one["run_name"]: one for one in json.loads(output)["benchmarks"]
                   if one.get("aggregate_name") == "median"}
        for work, name, bar, goal in (
                ("painted again, one signal", "paintAgain", 4, 2),
                ("painted at first sight, one signal", "paintAtFirstSight", 20, 12),
                ("a pan, main thread", "moveView/zoom:0", 4, 2),
                ("a zoom, main thread", "moveView/zoom:1", 4, 4)):
            self.table.row(work, results[name]["cpu_time"], " ms", bar, goal,
                           f"CPU; a bare walk of all samples {results['walkAllSamples']['cpu_time']:.1f} ms")
        twelve = [one["real_time"] for name, one in results.items() if name.startswith("repaintTwelve")]
        self.table.row("twelve signals repainted", max(twelve), " ms", 60, 30,
                       f"wall, the slowest of {len(twelve)} views; {min(twelve):.1f} ms the fastest")
        self.table.row("memory beyond the samples", results["paintAgain"]["memory_percent"], " %", 5, 3, "")

    def in_window(self, *arguments):
        """The times that bench-window prints on a display of its own, by name."""
        display = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "with-display")
        output = subprocess.run([display, os.path.join(self.options.floors, "bench-window"), *arguments],
                                check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
        times = {}
        for line in output.splitlines():
            name, value = line.split()
            times.setdefault(name, []).append(float(value))
        return times

    def window(self):
        shown = self.in_window("start", str(self.options.rounds + 1),
                               os.path.join(self.options.sample, "drive.vsd"), *self.sample())["first_frame"][1:]
        self.table.row("from the start to the first frame", median(shown), " ms", 500, 300,
                       f"the sample; {min(shown):.0f} to {max(shown):.0f} ms")
        runs = [self.in_window("load", self.vsd("bench.vsd"), *self.files) for _ in range(self.options.rounds)]
        for work, name in (("parsed", "block_parse"), ("painted", "block_paint")):
            blocks = [run[name][0] for run in runs]
            self.table.row(f"longest block of the main loop while {len(self.files)} files are {work}", median(blocks),
                           " ms", 50, 16, f"12 signals, {min(blocks):.1f} to {max(blocks):.1f} ms")

    def run(self):
        parts = {"printing": self.printing, "decoding": self.decoding, "growth": self.growth, "live": self.live,
                 "start": self.start, "virtual": self.virtual, "paint": self.paint, "window": self.window}
        print(f"{len(self.files)} files of {self.options.frames} frames, medians of {self.options.rounds} rounds. "
              f"Load of the machine at the start: {os.getloadavg()[0]:.1f}.\n")
        self.table = Table()
        for name in self.options.only or parts:
            parts[name]()
        return 1 if self.table.failed else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sigmira", required=True, help="the program to measure")
    parser.add_argument("--floors", required=True, help="directory of the floor programs")
    parser.add_argument("--virtual", required=True, help="the program bench-virtual")
    parser.add_argument("--simlogger", required=True, help="the stand-in for the logger")
    parser.add_argument("--data", required=True, help="directory of the recording")
    parser.add_argument("--sample", required=True, help="directory of the bundled sample")
    parser.add_argument("--frames", type=int, required=True, help="frames a file")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--only", action="append",
                        choices=["printing", "decoding", "growth", "live", "start", "virtual", "paint", "window"])
    options = parser.parse_args()
    options.data = os.path.abspath(options.data)
    with tempfile.TemporaryDirectory(prefix="home-", dir=os.path.dirname(options.data)) as home:
        sys.exit(Bench(options, home).run())


if __name__ == "__main__":
    main()

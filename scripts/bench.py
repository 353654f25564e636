# SPDX-License-Identifier: MIT
"""Runs the benchmarks and prints Markdown tables: called by scripts/bench with their folder and files."""

import json, os, platform, re, subprocess, sys
from pathlib import Path

FOLDER, FILES = Path(sys.argv[1]), sys.argv[2:]
# The repetitions of one program's benchmarks are run in random order, so that what else the machine
# does falls upon all of them alike.
OPTIONS = ["--benchmark_format=json", "--benchmark_enable_random_interleaving=true",
           "--benchmark_repetitions=9", "--benchmark_report_aggregates_only=true"]
PROGRAMS = [  # the program, what its table is about, seconds for each repetition
    ("tiff_writer_bench", "Saving a picture of 6000 x 4000 pixels to memory", 0.1),
    ("reader_bench", "Reading a photograph's metadata, from the system's cache", 0.05),
    ("settings_bench", "Settings", 0.05),
    ("hdr_range_bench", "The range of an HDR picture of 6000 x 4000 pixels", 0.05),
]


def medians(program, seconds):
    """Processor times in nanoseconds: {what is done: {who does it: time}}."""
    files = FILES if program == "reader_bench" else []
    words = [str(FOLDER / program), *OPTIONS, f"--benchmark_min_time={seconds}", *files]
    report = json.loads(subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout)
    table = {}
    for run in sorted(report["benchmarks"], key=lambda run: run["family_index"]):
        if run.get("error_occurred"):
            sys.exit(f"{program}: {run['name']}: {run['error_message']}")
        if run["aggregate_name"] == "median":
            what, who = run["run_name"].split("/")
            unit = {"ns": 1, "us": 1e3, "ms": 1e6}[run["time_unit"]]
            table.setdefault(what, {})[who] = run["cpu_time"] * unit
    return table


def readable(time):
    for unit, name in ((1e6, "ms"), (1e3, "us"), (1, "ns")):
        if time >= unit:
            return f"{time / unit:.3g} {name}" if time < 1000 * unit else f"{time / unit:.0f} {name}"
    return f"{time:.2g} ns"


def print_table(title, table):
    others = list(dict.fromkeys(who for times in table.values() for who in times if who != "this library"))
    print(f"\n{title}:\n\n| | this library | {' | '.join(others)} |\n|{' --- |' * (len(others) + 2)}")
    for what, times in table.items():
        own = times["this library"]
        cells = [f"{readable(times[who])} ({times[who] / own:.2g})" if who in times else "" for who in others]
        print(f"| {what} | {readable(own)} | {' | '.join(cells)} |")


def machine():
    model = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True).stdout.splitlines()[0]
    return (f"{model.group(1) if model else platform.machine()}, {os.cpu_count()} processors, {compiler}, "
            f"load {os.getloadavg()[0]:.1f}")


print(f"Machine: {machine()}\n\nCommand: scripts/bench {' '.join(FILES)}".rstrip())
print("\nMedians of 9 runs in random order, processor time. In parentheses: how many times as long as this "
      "library it takes.")
for program, title, seconds in PROGRAMS:
    print_table(title, medians(program, seconds))

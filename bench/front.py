#!/usr/bin/env python3
"""front.py BUILD [TOPIC...] [--json FILE] [--filter PATTERN]

Runs the benchmarks of the topics and prints one line a figure: ours, the peer and its figure, the ratio, and the
bound that bounds.txt holds it against.

Every benchmark is run several times, all of a program in random order, and its figure is the median. The figure is
processor time, or real time for the benchmarks that ask for it, or the counter "ratio" where there is one.
"""

import argparse
import fnmatch
import json
import operator
import os
import pathlib
import re
import statistics
import subprocess
import sys

TOPICS = ["base", "data", "object", "mt", "io", "xml", "nls", "win32"]
COMPARE = {"<=": operator.le, ">=": operator.ge}
SUFFIX = re.compile(r"/(real_time|manual_time|process_time|iterations:\d+|repeats:\d+|min_time:[\d.]+|threads:\d+)$")
REPETITIONS = 9
SECONDS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def read_bounds():
    """(pattern, side, comparison, bound), in the order of the file."""
    bounds = []
    for line in pathlib.Path(__file__).with_name("bounds.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            pattern, side, comparison, bound = line.split()
            bounds.append((pattern, side, comparison, float(bound)))
    return bounds


def run_program(program, name_filter):
    """{case: {side: [value of each repetition]}}; a value is in seconds, or without a unit."""
    command = [program, "--benchmark_format=json", f"--benchmark_repetitions={REPETITIONS}",
               "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.05",
               f"--benchmark_filter={name_filter}"]
    finished = subprocess.run(command, stdout=subprocess.PIPE, check=True)
    # A filter that matches nothing gives no JSON at all.
    runs = json.loads(finished.stdout)["benchmarks"] if finished.stdout.strip() else []
    cases = {}
    for run in runs:
        if run["run_type"] != "iteration":
            continue
        if run.get("error_occurred"):
            raise SystemExit(f"{run['name']}: {run['error_message']}")
        name = run["run_name"]
        suffixes = []
        while match := SUFFIX.search(name):
            suffixes.append(match[1])
            name = name[:match.start()]
        case, side = name.removeprefix("BM_").rsplit("/", 1)
        is_real = "real_time" in suffixes or "manual_time" in suffixes
        time = run["real_time" if is_real else "cpu_time"] * SECONDS[run["time_unit"]]
        cases.setdefault(case, {}).setdefault(side, []).append(run.get("ratio", time))
        if "ratio" in run:
            cases[case].setdefault("unitless", True)
    return cases


def figures_of(case, sides, bounds):
    """One figure for each bound of the longest pattern that fits, or one against the best peer."""
    unitless = sides.pop("unitless", False)
    medians = {side: statistics.median(values) for side, values in sides.items()}
    ours = medians.pop("ours", None)
    if ours is None or not medians:
        return
    best = min(medians, key=medians.get)
    fitting = [bound for bound in bounds if fnmatch.fnmatchcase(case, bound[0])]
    closest = max((bound[0] for bound in fitting), key=len, default=None)
    wanted = [bound for bound in fitting if bound[0] == closest] or [(None, "best", None, None)]
    for _, side, comparison, bound in wanted:
        peer = best if side == "best" else side
        if peer not in medians:
            continue
        ratio = ours / medians[peer]
        verdict = "" if bound is None else "ok" if COMPARE[comparison](ratio, bound) else "SHORT"
        yield {"name": case, "ours": ours, "peer": peer, "theirs": medians[peer], "unitless": unitless,
               "ratio": ratio, "comparison": comparison, "bound": bound, "verdict": verdict}


def readable(value, unitless):
    if unitless:
        return f"{value:.2f}"
    for unit, size in (("s", 1.0), ("ms", 1e-3), ("us", 1e-6)):
        if value >= size:
            return f"{value / size:.2f} {unit}"
    return f"{value * 1e9:.2f} ns"


def line_of(figure):
    bound = "" if figure["bound"] is None else f"{figure['comparison']} {figure['bound']:.2f}"
    return (f"{figure['name']:<30} {readable(figure['ours'], figure['unitless']):>10}   "
            f"{figure['peer']:<12} {readable(figure['theirs'], figure['unitless']):>10}   "
            f"{figure['ratio']:>6.2f}  {bound:<8} {figure['verdict']}").rstrip()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("topics", nargs="*", metavar="topic", help=", ".join(TOPICS))
    parser.add_argument("--json", type=pathlib.Path, help="a file that gets the same figures, times in seconds")
    parser.add_argument("--filter", default=".", help="a regular expression on the names")
    arguments = parser.parse_args()

    unknown = set(arguments.topics) - set(TOPICS)
    if unknown:
        parser.error(f"no such topic: {', '.join(sorted(unknown))}")

    bounds = read_bounds()
    figures = []
    for topic in arguments.topics or TOPICS:
        folder = arguments.build / "bench" / topic
        for program in sorted(folder.glob("*_bench")) if folder.is_dir() else []:
            if not os.access(program, os.X_OK):
                continue
            for case, sides in run_program(program, arguments.filter).items():
                for figure in figures_of(case, sides, bounds):
                    figures.append({"topic": topic, **figure})
                    print(line_of(figure), flush=True)
    if arguments.json:
        arguments.json.write_text(json.dumps(figures, indent=2) + "\n")
    short = sum(figure["verdict"] == "SHORT" for figure in figures)
    print(f"{len(figures)} figures, {short} short of their bounds")


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Writes docs/coverage.md: which lines of the product the tests run.

    cmake --preset coverage && cmake --build --preset coverage && ctest --preset coverage
    scripts/coverage.py

What a test does in a process that is killed isn't counted, as such a process can't tell. The test
`create` is left out: it limits the size of files, and the counters are files, too."""

import collections
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = ROOT / "build" / "coverage"
PACKAGES = ("foundation/Vx", "foundation/IO", "Larkspan/Common", "Larkspan/Common/IO",
            "Larkspan/Archive", "Larkspan/Interop", "tools/larkspan", "tools/documents")
GOAL = 95


def package_of(file):
    return max((p for p in PACKAGES if file.startswith(p + "/")), key=len, default=None)


def counts():
    """How often each line ran, of each file of the product, in whichever programs it is."""
    lines = collections.defaultdict(lambda: collections.defaultdict(int))
    data = [str(path) for path in BUILD.rglob("*.gcda")]
    if not data:
        sys.exit("nothing was counted: build the preset coverage, and run its tests")
    for start in range(0, len(data), 50):
        output = subprocess.run(["gcov", "--json-format", "--stdout", *data[start:start + 50]],
                                capture_output=True, text=True, check=True, cwd=ROOT).stdout
        for unit in output.splitlines():
            for file in json.loads(unit)["files"]:
                name = file["file"].removeprefix(f"{ROOT}/")
                if package_of(name):
                    for line in file["lines"]:
                        lines[name][line["line_number"]] += line["count"]
    return lines


def share(run, all_lines):
    return f"{100 * run / all_lines:.1f} %" if all_lines else "-"


def spans(numbers):
    """[3, 4, 5, 9] is 3-5, 9."""
    result = []
    for number in sorted(numbers):
        if result and number == result[-1][1] + 1:
            result[-1][1] = number
        else:
            result.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in result)


def main():
    lines = counts()
    totals = {package: [0, 0] for package in (*PACKAGES, "all")}
    missed = {}
    for name, counted in sorted(lines.items()):
        ran = sum(count > 0 for count in counted.values())
        for package in (package_of(name), "all"):
            totals[package][0] += ran
            totals[package][1] += len(counted)
        if ran < len(counted):
            missed[name] = [number for number, count in counted.items() if count == 0]

    revision = subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True,
                              text=True, check=True, cwd=ROOT).stdout.strip()
    page = ["# What the tests run", "",
            "Lines of the product that the tests of `./test` run, counted by gcov without optimisation. Written by",
            f"`scripts/coverage.py`, which tells how, on the tree of {revision}. What runs only in a process that a",
            f"test kills isn't counted. The goal is {GOAL} %.", "",
            "| package | lines | run | |", "|---|---:|---:|---:|"]
    page += [f"| {package} | {count} | {ran} | {share(ran, count)} |" for package, (ran, count) in totals.items()]
    page += ["", "## What no test runs", "", "| file | of its lines | lines |", "|---|---:|---|"]
    page += [f"| `{name}` | {share(len(numbers), len(lines[name]))} | {spans(numbers)} |" for name, numbers in missed.items()]
    (ROOT / "docs" / "coverage.md").write_text("\n".join(page) + "\n", encoding="utf-8")
    ran, count = totals["all"]
    print(share(ran, count))
    return 100 * ran < GOAL * count


if __name__ == "__main__":
    sys.exit(main())

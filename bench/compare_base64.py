#!/usr/bin/env python3
"""Compares Base64 of the library with the program `base64` of the system.

    bench/compare_base64.py BUILD [MEBIBYTES [ROUNDS]]

BUILD is the folder of the `bench` preset. Both programs read the same file and write to /dev/null,
one after the other in each round; the least user and system time together of each counts. What
they write is compared once, with each other and with Python's own.
"""

import base64
import os
import random
import subprocess
import sys
import tempfile


def total_time(command):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command[0]} failed with {process.returncode}")
    return usage.ru_utime + usage.ru_stime


def write(path, data):
    with open(path, "wb") as out:
        out.write(data)


def main():
    program = os.path.join(sys.argv[1], "bench/base64-file")
    size = int(sys.argv[2]) if len(sys.argv) > 2 else 64
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 7
    data = random.Random(1).randbytes(size << 20)
    text = base64.b64encode(data)
    lines = base64.encodebytes(data)
    with tempfile.TemporaryDirectory() as work:
        files = {name: os.path.join(work, name) for name in ("data", "text", "lines")}
        for name, content in (("data", data), ("text", text), ("lines", lines)):
            write(files[name], content)
        jobs = {
            "encode": (["encode", files["data"]], ["-w0", files["data"]], text),
            "decode": (["decode", files["text"]], ["-d", files["text"]], data),
            "decode lines": (["decode", files["lines"]], ["-d", files["lines"]], data),
        }
        print(f"{size} MiB, least user and system time of {rounds} rounds")
        for name, (ours, theirs, expected) in jobs.items():
            ours, theirs = [program, *ours], ["base64", *theirs]
            for command in (ours, theirs):
                if subprocess.run(command, capture_output=True, check=True).stdout != expected:
                    sys.exit(f"{command[0]}: {name} gives something else")
            times = [(total_time(ours), total_time(theirs)) for _ in range(rounds)]
            own, other = (min(column) for column in zip(*times))
            print(f"{name} {own:.3f} s, system's {other:.3f} s: ratio {own / other:.2f}")


if __name__ == "__main__":
    main()

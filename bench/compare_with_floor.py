#!/usr/bin/env python3
"""Compares the user time of `larkspan create` and `verify` with what zlib alone needs.

    bench/compare_with_floor.py BUILD PATH [ROUNDS]

BUILD is the folder of the `bench` preset, PATH a file or a folder. Each round runs the four
programs one after the other, so that the ratios come from one run on one machine; the least time
of each counts.
"""

import os
import subprocess
import sys
import tempfile


def user_time(command, stdin=subprocess.DEVNULL):
    process = subprocess.Popen(command, stdin=stdin, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command[0]} failed with {process.returncode}")
    return usage.ru_utime


def list_files(path):
    if os.path.isfile(path):
        return [path]
    return sorted(
        name
        for folder, _, names in os.walk(path)
        for name in (os.path.join(folder, one) for one in names)
        if os.path.isfile(name)
    )


def main():
    build, path = sys.argv[1], os.path.abspath(sys.argv[2])
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    tool = os.path.join(build, "tools/larkspan/larkspan")
    floor = os.path.join(build, "bench/zlib-floor")
    files = list_files(path)
    size = sum(os.path.getsize(name) for name in files)
    print(f"{len(files)} files, {size / 1e6:.1f} MB, least user time of {rounds} rounds")
    with tempfile.TemporaryDirectory() as work:
        names, streams = os.path.join(work, "names"), os.path.join(work, "streams")
        archive = os.path.join(work, "archive.lsa")
        with open(names, "w", encoding="utf-8", errors="surrogateescape") as out:
            out.writelines(name + "\n" for name in files)
        least = {}
        for _ in range(rounds):
            with open(names, "rb") as list_of_names:
                times = {"deflate": user_time([floor, "deflate", streams], list_of_names)}
            create = [tool, "create", "--force", "-C", os.path.dirname(path), archive]
            times["create"] = user_time(create + [os.path.basename(path)])
            times["inflate"] = user_time([floor, "inflate", streams])
            times["verify"] = user_time([tool, "verify", archive])
            least = {name: min(time, least.get(name, time)) for name, time in times.items()}
    for ours, theirs in (("create", "deflate"), ("verify", "inflate")):
        ratio = least[ours] / least[theirs]
        print(f"{ours} {least[ours]:.2f} s, floor {least[theirs]:.2f} s: ratio {ratio:.3f}")


if __name__ == "__main__":
    main()

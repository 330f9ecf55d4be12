#!/usr/bin/env python3
"""Times `larkspan` against the archivers that the machine has, on the machine's own files.

Two corpora are built below BUILD/peers and removed at the end: `small`, many source files, and
`big`, eight large files of libraries and programs that aren't compressed yet. Each round runs every
program once on each row of the table, one after the other, so that a change of the machine's load
meets them all; medians count. --write renews docs/performance.md and docs/performance.svg.
"""

import argparse
import datetime
import os
import platform
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import zlib

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SOURCES = ["/usr/include", "/usr/share", "/usr/lib"]
SUFFIXES = (".h", ".hpp", ".c", ".cpp", ".py", ".pl", ".pm", ".js", ".java", ".rb", ".go", ".cmake",
            ".sh", ".tcl", ".el", ".lua", ".txt", ".html", ".xml", ".json", ".rst", ".md", ".inc")
SMALL_FILES, SMALL_LIMIT = 20000, 150_000
BIG_FILES, BIG_BYTES = 8, 400e6
BEGIN, END = "<!-- begin of the last run -->", "<!-- end of the last run -->"
ROWS = ["create", "verify", "list", "last entry", "extract", "stored: create", "stored: extract"]
OURS = ["larkspan", "larkspan -j 1"]


def machine_files():
    """Path and size of each file, once per inode, under names that no program takes for a pattern."""
    seen = set()
    for source in SOURCES + ["/usr/bin"]:
        for folder, folders, names in os.walk(source):
            folders.sort()
            for name in sorted(names):
                path = os.path.join(folder, name)
                if not re.fullmatch(r"[\w./+-]+", path, re.ASCII) or os.path.islink(path):
                    continue
                state = os.stat(path)
                if os.access(path, os.R_OK) and (state.st_dev, state.st_ino) not in seen:
                    seen.add((state.st_dev, state.st_ino))
                    yield path, state.st_size


def is_compressed(path, size):
    with open(path, "rb") as file:
        parts = []
        for i in range(8):
            file.seek(size * i // 8)
            parts.append(file.read(16384))
    data = b"".join(parts)
    return len(zlib.compress(data, 1)) > 0.8 * len(data)


def build_corpora(work, scale):
    files = list(machine_files())
    texts = [one for one in files if one[0].endswith(SUFFIXES) and one[1] <= SMALL_LIMIT]
    count = min(len(texts), max(1, int(SMALL_FILES * scale)))
    small = [texts[i * len(texts) // count] for i in range(count)]

    # The window of eight neighbours by size that comes closest to the size wanted.
    wanted = BIG_BYTES * scale
    large = sorted((one for one in files if one[1] < wanted / 2), key=lambda one: -one[1])
    large = [one for one in large[:400] if not is_compressed(*one)]
    windows = [large[i:i + BIG_FILES] for i in range(max(1, len(large) - BIG_FILES + 1))]
    big = min(windows, key=lambda window: abs(sum(size for _, size in window) - wanted))

    for corpus, chosen in (("small", small), ("big", big)):
        for i, (path, _) in enumerate(chosen):
            # The number keeps apart big files of one name.
            inner = path.lstrip("/") if corpus == "small" else f"{i}-{os.path.basename(path)}"
            target = os.path.join(work, corpus, inner)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copyfile(path, target)


def measure_folder(path):
    names = [os.path.join(folder, name) for folder, _, names in os.walk(path) for name in names]
    return len(names), sum(os.path.getsize(name) for name in names)


class Failed(Exception):
    pass


def run(command, stdin=None):
    """Wall seconds, and user seconds with those of the programs that it starts."""
    os.sync()  # what the program before has written is not this one's to wait for
    with open(stdin or os.devnull, "rb") as source:
        begin = time.monotonic()
        process = subprocess.Popen(command, stdin=source, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.monotonic() - begin
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise Failed(f"{' '.join(command)} exited with {process.returncode}")
    return wall, usage.ru_utime


def peak_memory(command, stdin=None):
    """MiB of the largest process, or None without the program `time`. The kernel counts from the
    memory of the process that started it, and that of Python is larger than most programs here."""
    if not shutil.which("time"):
        return None
    with open(stdin or os.devnull, "rb") as source:
        done = subprocess.run(["time", "-f", "%M", *command], stdin=source, check=True, text=True,
                              errors="replace", stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    return int(done.stderr.split()[-1]) / 1024


def output_of(command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          check=True).stdout.decode(errors="replace")


def commit():
    """The source's commit behind a blank, if there is one."""
    try:
        return " of commit " + output_of(["git", "-C", ROOT, "rev-parse", "--short", "HEAD"]).strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


class Peer:
    """A program and its commands; {a} is the archive, {c} the corpus, {p} the folder that holds
    it, {o} an empty folder to extract into, {n} the name of an entry."""

    def __init__(self, title, suffix, version, commands, names=None):
        self.title, self.suffix, self.version = title, suffix, version
        self.commands = {row: text.split() for row, text in commands.items()}
        self.names = names

    def command(self, row, **values):
        return [word.format(**values) for word in self.commands[row]]


def find_peers(build):
    tool = os.path.join(build, "tools/larkspan/larkspan")
    floor = os.path.join(build, "bench/zlib-floor")
    peers, missing = [], []

    def version(*command):
        return output_of(command).strip().splitlines()[0]

    if shutil.which("zip") and shutil.which("unzip"):
        lines = output_of(["zip", "-v"]).splitlines()
        zip_version = next((line for line in lines if line.startswith("This is Zip")), "zip")
        peers.append(Peer("zip/unzip", ".zip", zip_version.replace("This is ", "")[:20], {
            "create": "zip -q -r {a} {c}", "verify": "unzip -tqq {a}", "list": "unzip -Z1 {a}",
            "last entry": "unzip -p {a} {n}", "extract": "unzip -q {a} -d {o}",
            "stored: create": "zip -q -0 -r {a} {c}", "stored: extract": "unzip -q {a} -d {o}"}))
    else:
        missing.append("zip and unzip")
    if shutil.which("bsdtar"):
        peers.append(Peer("bsdtar tar.gz", ".tar.gz", version("bsdtar", "--version"), {
            "create": "bsdtar -czf {a} {c}", "verify": "bsdtar -xOf {a}", "list": "bsdtar -tf {a}",
            "last entry": "bsdtar -xOf {a} {n}", "extract": "bsdtar -xf {a} -C {o}",
            "stored: create": "bsdtar -cf {a} {c}", "stored: extract": "bsdtar -xf {a} -C {o}"}))
    else:
        missing.append("libarchive-tools (bsdtar)")
    if shutil.which("tar") and shutil.which("pigz"):
        peers.append(Peer("tar + pigz", ".tgz", version("pigz", "--version"), {
            "create": "tar -I pigz -cf {a} {c}", "verify": "tar -I pigz -xOf {a}",
            "list": "tar -I pigz -tf {a}", "last entry": "tar -I pigz -xOf {a} {n}",
            "extract": "tar -I pigz -xf {a} -C {o}"}))
    else:
        missing.append("pigz")
    if os.path.exists(floor):
        peers.append(Peer("zlib alone", ".floor", "zlib " + zlib.ZLIB_RUNTIME_VERSION, {
            "create": floor + " deflate {a}", "verify": floor + " inflate {a}"}, names="{p}/{c}.names"))
    else:
        missing.append("zlib-floor (the bench preset builds it)")

    tool_version = version(tool, "--version")
    with_jobs = "--jobs" in output_of([tool, "create", "--help"])
    for title, jobs in ((OURS[0], ""), (OURS[1], " -j 1")):
        if jobs and not with_jobs:
            continue
        commands = {
            "create": tool + " create" + jobs + " {a} {c}", "verify": tool + " verify" + jobs + " {a}",
            "list": tool + " list {a}", "last entry": tool + " cat {a} {n}",
            "extract": tool + " extract" + jobs + " -C {o} {a}",
            "stored: create": tool + " create --method stored" + jobs + " {a} {c}",
            "stored: extract": tool + " extract" + jobs + " -C {o} {a}"}
        if jobs:
            del commands["list"], commands["last entry"]  # they know no jobs
        peers.append(Peer(title, ".lsa" + jobs.replace(" ", ""), tool_version, commands))
    return peers, missing


def command_of(work, corpus, row, peer, last):
    """The words of the command, with everything in place for it, the path of its archive, and that
    of what it extracts. That folder is a new one each time, and stays: for minutes after many files
    were deleted, making new ones takes ext4 up to ten times as long, whoever makes them."""
    stored = ".stored" if row.startswith("stored") else ""
    archive = os.path.join(work, corpus + stored + peer.suffix)
    target = ""
    if row.endswith("create") and os.path.exists(archive):
        os.remove(archive)
    if row.endswith("extract"):
        target = tempfile.mkdtemp(dir=os.path.join(work, "extracted"))
    if row == "last entry" and (corpus, peer.title) not in last:
        listing = output_of(peer.command("list", a=archive)).splitlines()
        last[corpus, peer.title] = [name for name in listing if name[-1:] != "/"][-1]
    return peer.command(row, a=archive, c=corpus, o=target, p=work,
                        n=last.get((corpus, peer.title), "")), archive, target


def measure(work, peers, rounds, sizes):
    """Medians of wall and user seconds, peak memory, and sizes of archives."""
    times, memory, archive_sizes, last = {}, {}, {}, {}
    os.mkdir(os.path.join(work, "extracted"))
    for corpus in sizes:
        with open(corpus + ".names", "w", encoding="utf-8") as names:
            for folder, _, files in sorted(os.walk(corpus)):
                names.writelines(os.path.join(folder, name) + "\n" for name in sorted(files))
        for turn in range(rounds + 1):  # the last one for memory
            for row in ROWS:
                for peer in (one for one in peers if row in one.commands):
                    command, archive, target = command_of(work, corpus, row, peer, last)
                    names = peer.names and peer.names.format(p=work, c=corpus)
                    if turn == rounds:
                        memory[row, corpus, peer.title] = peak_memory(command, names)
                    else:
                        times.setdefault((row, corpus, peer.title), []).append(run(command, names))
                    if row.endswith("extract") and measure_folder(target) != sizes[corpus]:
                        raise Failed(f"{' '.join(command)} did not bring back every file")
                    if row == "create":
                        archive_sizes[corpus, peer.title] = os.path.getsize(archive)
            print(f"{corpus}: round {turn + 1} of {rounds + 1}", file=sys.stderr)
    medians = {key: [statistics.median(one) for one in zip(*runs)] for key, runs in times.items()}
    return medians, memory, archive_sizes


def digits(value):
    return f"{value:.3f}" if value < 0.1 else f"{value:.2f}" if value < 10 else f"{value:.1f}"


def markdown_table(head, lines):
    return "\n".join("| " + " | ".join(line) + " |" for line in [head, ["---"] * len(head)] + lines)


def report(peers, medians, memory, archive_sizes, sizes, facts):
    titles = [peer.title for peer in peers]
    keys = [(row, corpus) for row in ROWS for corpus in sizes]

    def table(figures, cell):
        return [[f"{row} {corpus}"] + [cell(figures[row, corpus, title])
                                       if (row, corpus, title) in figures else "" for title in titles]
                for row, corpus in keys]

    sums = [[f"archive {corpus}, MB"] + [f"{archive_sizes[corpus, title] / 1e6:.1f}" for title in titles]
            for corpus in sizes]
    standing = []
    for row, corpus in keys:
        others = {title: medians[row, corpus, title][0] for title in titles
                  if title not in OURS + ["zlib alone"] and (row, corpus, title) in medians}
        if others:
            best = min(others, key=others.get)
            ratio = medians[row, corpus, OURS[0]][0] / others[best]
            word = "faster" if ratio < 0.95 else "**slower**" if ratio > 1.05 else "even"
            standing.append([f"{row} {corpus}", best, f"{ratio:.2f}", word])
    return "\n\n".join([
        "\n".join(f"- {fact}" for fact in facts),
        "Wall seconds, user seconds in brackets:",
        markdown_table([""] + titles, table(medians, lambda t: f"{digits(t[0])} ({digits(t[1])})") + sums),
        "`larkspan` against the fastest peer of each row, by wall time:",
        markdown_table(["", "fastest peer", "larkspan / peer", "larkspan is"], standing),
        "Peak memory of the largest process, MiB:",
        markdown_table([""] + titles, table(memory, lambda one: f"{one:.1f}" if one else "-"))])


def draw(peers, medians, sizes):
    """Bars of wall time, each row on a scale of its own, since rows differ a thousandfold."""
    colours = ["#b5651d", "#8a8f2a", "#2a8f6a", "#888888", "#2f6fde", "#7fa8ee"]
    left, width, bar, y = 190, 430, 13, 30
    parts = []
    for row in ROWS:
        for corpus in sizes:
            shown = [(i, peer.title, medians[row, corpus, peer.title][0])
                     for i, peer in enumerate(peers) if (row, corpus, peer.title) in medians]
            most = max(wall for _, _, wall in shown)
            parts.append(f'<text x="10" y="{y + 10}" class="row">{row} {corpus}</text>')
            for i, title, wall in shown:
                length = max(1, width * wall / most)
                parts.append(f'<rect x="{left}" y="{y}" width="{length:.1f}" height="{bar - 2}" '
                             f'fill="{colours[i % len(colours)]}"/>')
                parts.append(f'<text x="{left + length + 5:.1f}" y="{y + 10}">{digits(wall)} s  '
                             f'{title}</text>')
                y += bar
            y += 9
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="800" height="{y}" viewBox="0 0 800 {y}">\n'
            "<style>text{font:11px sans-serif;fill:#222}.row{font-weight:bold}"
            "@media(prefers-color-scheme:dark){text{fill:#ddd}}</style>\n"
            '<text x="10" y="16">Wall seconds, shorter is better; each group has its own scale</text>\n'
            + "\n".join(parts) + "\n</svg>\n")


def write_document(text, drawing):
    path = os.path.join(ROOT, "docs/performance.md")
    with open(path, encoding="utf-8") as file:
        before, rest = file.read().split(BEGIN)
    after = rest.split(END)[1]
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"{before}{BEGIN}\n\n{text}\n\n{END}{after}")
    with open(os.path.join(ROOT, "docs/performance.svg"), "w", encoding="utf-8") as file:
        file.write(drawing)


def processor_name():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        names = re.findall(r"model name\s*: (.*)", file.read())
    return names[0] if names else platform.machine()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", help="folder of the bench preset")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--scale", type=float, default=1, help="1 is the whole of both corpora")
    parser.add_argument("--quick", action="store_true", help="one round of tiny corpora")
    parser.add_argument("--write", action="store_true", help="renew docs/performance.md and .svg")
    options = parser.parse_args()
    rounds, scale = (1, 0.005) if options.quick else (options.rounds, options.scale)

    build = os.path.abspath(options.build)
    peers, missing = find_peers(build)
    for name in missing:
        print(f"not installed, left out: {name}", file=sys.stderr)
    work = os.path.join(build, "peers")
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(work)
    try:
        load = os.getloadavg()[0]
        build_corpora(work, scale)
        sizes = {corpus: measure_folder(os.path.join(work, corpus)) for corpus in ("small", "big")}
        os.chdir(work)  # the entries' names begin with the corpus
        medians, memory, archive_sizes = measure(work, peers, rounds, sizes)
    except Failed as failure:
        sys.exit(f"peers: {failure}")
    finally:
        os.chdir(ROOT)
        shutil.rmtree(work, ignore_errors=True)

    facts = [
        f"{datetime.date.today()}, {len(os.sched_getaffinity(0))} processors ({processor_name()}), "
        f"{platform.system()} {platform.release()}",
        "; ".join(f"`{corpus}` is {count} files, {size / 1e6:.1f} MB"
                  for corpus, (count, size) in sizes.items())
        + ("" if scale == 1 else f": **cut to {scale:g} of the whole corpora**, so start-up weighs more"),
        f"medians of {rounds}, one program after the other; files in the page cache, disks synced before" if rounds > 1
        else "one round only, one program after the other; files in the page cache, disks synced before",
        f"load average {load:.1f} before, {os.getloadavg()[0]:.1f} after",
        "versions: " + "; ".join(dict.fromkeys(peer.version for peer in peers)) + commit(),
    ] + [f"not installed: {name}" for name in missing]
    text = report(peers, medians, memory, archive_sizes, sizes, facts)
    print(text)
    if options.write:
        write_document(text, draw(peers, medians, sizes))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""recording.py TOOL OUT: runs commands at a terminal and draws them, and what came out, as an SVG
that plays them once. The files are the project's own, so that it needs no network."""

import html
import os
import pathlib
import pty
import re
import shutil
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
COMMANDS = (
    "larkspan create -H project=larkspan docs.lsa docs README.md",
    "larkspan list -l docs.lsa | tail -3",
    "larkspan verify docs.lsa",
    "larkspan headers set -v docs.lsa state=final",
    "larkspan extrat docs.lsa",
    "larkspan extract -C copy docs.lsa && diff -r docs copy/docs && echo no difference",
    "larkspan create - docs | larkspan cat - docs/tour.md | head -1",
)
WIDTH, LINE, TOP, LEFT, LETTER = 860, 19, 44, 18, 8.4
COLORS = {"1;31": "#ff7b72", "1;33": "#e3b341"}
SECONDS_TO_TYPE, SECONDS_TO_READ = 1.0, 0.9


def run(command, folder, environment):
    """What a terminal shows of the command."""
    process, terminal = pty.fork()
    if process == 0:
        os.chdir(folder)
        os.execvpe("bash", ["bash", "-c", command], environment)
    shown = b""
    while True:
        try:
            part = os.read(terminal, 4096)
        except OSError:  # the command has ended
            break
        shown += part
    os.close(terminal)
    os.waitpid(process, 0)
    # A progress line is taken away again.
    lines = shown.decode().replace("\r\n", "\n").splitlines()
    return [line.rpartition("\r\x1b[K")[2] for line in lines]


def draw_text(line):
    """Its colours as spans."""
    parts = re.split(r"\x1b\[([\d;]*)m", line)
    text = html.escape(parts[0])
    for code, part in zip(parts[1::2], parts[2::2]):
        color = COLORS.get(code)
        part = html.escape(part)
        text += f'<tspan fill="{color}">{part}</tspan>' if color else part
    return text


def draw(rows):
    """`rows`: (second at which it appears, text, whether it is typed)."""
    height = TOP + LINE * len(rows) + 12
    lines = ['<svg xmlns="http://www.w3.org/2000/svg" xml:space="preserve" role="img"',
             f'  viewBox="0 0 {WIDTH} {height}"',
             '  aria-label="A terminal in which larkspan packs, lists, verifies and extracts">',
             "<style>",
             "text { font: 14px monospace; fill: #c9d1d9; white-space: pre; animation: wait 0s; }",
             ".typed { fill: #ffffff; font-weight: bold; }",
             "@keyframes wait { from, to { visibility: hidden; } }",
             "@media (prefers-reduced-motion) { text { animation: none; } }",
             "</style>",
             f'<rect width="{WIDTH}" height="{height}" rx="8" fill="#161b22"/>']
    for index, color in enumerate(("#ff5f56", "#ffbd2e", "#27c93f")):
        lines.append(f'<circle cx="{LEFT + 6 + 20 * index}" cy="18" r="6" fill="{color}"/>')
    for index, (second, text, typed) in enumerate(rows):
        kind = ' class="typed"' if typed else ""
        length = len(re.sub(r"\x1b\[[\d;]*m", "", text)) * LETTER
        lines.append(f'<text{kind} x="{LEFT}" y="{TOP + LINE * index}" textLength="{length:.0f}" '
                     f'style="animation-duration: {second:.1f}s">{draw_text(text)}</text>')
    return "\n".join([*lines, "</svg>", ""])


def main(tool, out):
    with tempfile.TemporaryDirectory() as top:
        folder = pathlib.Path(top)
        shutil.copytree(ROOT / "docs", folder / "docs", ignore=shutil.ignore_patterns("*.svg"))
        shutil.copy2(ROOT / "README.md", folder)
        (folder / "bin").mkdir()
        (folder / "bin/larkspan").symlink_to(os.path.abspath(tool))
        environment = {**os.environ, "TERM": "xterm", "LC_ALL": "C.UTF-8",
                       "PATH": f"{folder}/bin:{os.environ['PATH']}"}
        environment.pop("NO_COLOR", None)
        rows, second = [], 0.0
        for command in COMMANDS:
            second += SECONDS_TO_TYPE
            rows.append((second, "$ " + command, True))
            rows += [(second + 0.3, line, False) for line in run(command, folder, environment)]
            second += SECONDS_TO_READ
    pathlib.Path(out).write_text(draw(rows), encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])

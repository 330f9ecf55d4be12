"""The cookbook's commands give what it shows. LARKSPAN_TOOL is the path of the program."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
# Stands for another machine: a folder of its own.
SSH = '#!/bin/sh\nmkdir -p "$HOST" && cd "$HOST" && shift && exec sh -c "$*"\n'


def commands_of(text):
    """(command, what comes out) of each console block."""
    for block in re.findall(r"^```console\n(.*?)^```$", text, re.M | re.S):
        for part in re.split(r"^\$ ", block, flags=re.M)[1:]:
            command, _, output = part.partition("\n")
            yield command, output


class Cookbook(unittest.TestCase):
    def test_every_command_gives_what_is_shown(self):
        beginning, *sections = (ROOT / "docs/cookbook.md").read_text().split("\n## ")
        files = "\n".join(command for command, _ in commands_of(beginning))
        self.assertGreaterEqual(len(sections), 12)
        for section in sections:
            with self.subTest(section.partition("\n")[0]), tempfile.TemporaryDirectory() as top:
                self.run_section(pathlib.Path(top), files, list(commands_of(section)))

    def run_section(self, top, files, commands):
        bin, work = top / "bin", top / "work"
        bin.mkdir()
        work.mkdir()
        (bin / "larkspan").symlink_to(os.path.abspath(os.environ["LARKSPAN_TOOL"]))
        (bin / "ssh").write_text(SSH)
        (bin / "ssh").chmod(0o755)
        commands = [row for row in commands if shutil.which(row[0].split()[0]) or
                    not row[0].startswith("java")]
        # One shell for all, since a command can depend on those before it.
        script = [files, f"ln -s {ROOT}/examples examples"]
        script += [f"{command}\necho '-- end --'" for command, _ in commands]
        ended = subprocess.run(["bash", "-c", "exec 2>&1\n" + "\n".join(script)], cwd=work,
                               capture_output=True, text=True, check=False, umask=0o22,
                               env={**os.environ, "PATH": f"{bin}:{os.environ['PATH']}",
                                    "HOST": str(top / "host"), "TZ": "UTC", "LC_ALL": "C"})
        outputs = ended.stdout.split("-- end --\n")
        for (command, expected), output in zip(commands, outputs, strict=False):
            self.assertEqual(output, expected, command)
        self.assertEqual(len(outputs), len(commands) + 1)

    def test_the_recording_is_drawn_from_real_runs(self):
        with tempfile.TemporaryDirectory() as top:
            place = pathlib.Path(top) / "drawn.svg"
            subprocess.run([ROOT / "scripts/recording.py", os.environ["LARKSPAN_TOOL"], place],
                           check=True)
            lines = [re.sub("<[^>]*>", "", line) for line in place.read_text().splitlines()]
            shown = (ROOT / "docs/recording.svg").read_text()
            self.assertIn("no difference", lines)
            for command in (line for line in lines if line.startswith("$ ")):
                self.assertIn(command, shown)


if __name__ == "__main__":
    unittest.main()

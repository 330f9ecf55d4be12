"""What the tool says to people: wrong usage, help, manual, and completions. Environment as in
tool_test.py, and LARKSPAN_DOCUMENTS, the folder of manual and completions."""

import os
import pathlib
import re
import shutil
import subprocess
import unittest

from archive_builder import entry, header
from tool_test import TOOL, USAGE, ToolTest

DOCUMENTS = pathlib.Path(os.environ["LARKSPAN_DOCUMENTS"])
COMMANDS = re.findall(r"^  (\w+) +[A-Z]", subprocess.run(
    [TOOL, "help"], capture_output=True, text=True, check=True).stdout.partition("Options")[0], re.M)
LEAVES = [(name,) for name in COMMANDS if name not in ("headers", "help")] + [
    ("headers", "get"), ("headers", "set"), ("headers", "clear")]


def help_of(*command):
    return subprocess.run([TOOL, "help", *command], capture_output=True, text=True,
                          check=True).stdout


def options_of(text):
    """(short name or nothing, long name, value or nothing) of each option in a help text."""
    return re.findall(r"^  (-\w)?,? +(--[\w-]+)(?: ([A-Z=]+))?", text, re.M)


class WordsTest(ToolTest):
    def wrong_usages(self):
        for name in COMMANDS:
            yield [name[:-1] + "z", "a"]
            yield ["help", name + "x"]
        for command in LEAVES:
            text = help_of(*command)
            names = re.search(r"^Usage: .*\[OPTION\.\.\.\] ?(.*)", text, re.M)[1].split()
            words = ["a=b" if "=" in name else "a" for name in names]
            if not names[-1].rstrip("]").endswith("..."):
                yield [*command, *words, "b", "c"]
            needed = sum(not name.startswith("[") for name in names)
            for count in range(needed):
                yield [*command, *words[:count]]
            yield [*command, "--bogus", *words]
            yield [*command, *words, "-Z"]
            for short, name, value in options_of(text):
                yield [*command, name + "x", *words]
                yield [name + "-", *command, *words]
                if value:
                    yield [*command, *words, name]
                    if short:
                        yield [*command, *words, short]
                else:
                    yield [*command, name + "=x", *words]
                if value in ("METHOD", "HOW", "WHEN", "N", "SIZE", "ORDER", "LEVEL"):
                    for bad in ("bogus", "", "-1", "1x", "17179869184T"):
                        yield [*command, f"{name}={bad}", *words]

    def test_wrong_usage_is_one_line_and_does_nothing(self):
        usages = list(self.wrong_usages())
        self.assertGreater(len(usages), 200)
        for arguments in usages:
            with self.subTest(arguments):
                output, told = self.run_tool(*arguments, code=USAGE)
                self.assertEqual((output, told.count(b"\n"), os.listdir(self.folder)), (b"", 1, []))

    def test_what_was_meant_is_named(self):
        for line, meant in (("lst a", "no command lst; did you mean list?"),
                            ("--lnog lsit a", "no command lsit; did you mean list?"),
                            ("create --forse --xy a b", "no option --forse; did you mean --force?"),
                            ("verify -j 0 a", "--jobs: 0 is no number from 1 to 256"),
                            ("verify a -j", "--jobs needs a value, N"),
                            ("create --reserve 4G a b", "--reserve: 4G is no size, or too large"),
                            ("list --lo=1 a", "no option --lo; did you mean --long?"),
                            ("extract --overwrite=alway a", "always; did you mean always?"),
                            ("headers gte a", "no command gte; did you mean get?"),
                            ("info c b a", "not expected: b a;"),
                            ("info -- -b --c", "not expected: --c;")):
            self.assertIn(meant, self.run_tool(*line.split(), code=USAGE)[1].decode())

    def test_loudness_and_colour(self):
        self.write("a.lsa", header() + entry("f"))
        red = b"\x1b[1;31mlarkspan:\x1b[0m "
        for line, output, told in (("-V", b"larkspan 0.", rb""), ("list -h", b"Print the", rb""),
                                   ("--no-progress list a.lsa", b"f\n", rb""),
                                   ("-q verify a.lsa", b"", rb""),
                                   ("verify -v a.lsa", b"a.lsa: ok", rb"f\n"),
                                   ("--color always list none", b"", re.escape(red) + rb"none: .*\n"),
                                   ("--color never list none -q", b"", rb"larkspan: none: .*\n")):
            ended = subprocess.run([TOOL, *line.split()], cwd=self.folder, capture_output=True,
                                   check=False)
            self.assertTrue(ended.stdout.startswith(output) and bool(output) == bool(ended.stdout))
            self.assertRegex(ended.stderr, rb"\A" + told + rb"\Z")


class DocumentsTest(ToolTest):

    def test_manual_and_completions_know_every_option(self):
        scripts = {name: (DOCUMENTS / name).read_text() for name in (
            "bash-completion/completions/larkspan", "zsh/site-functions/_larkspan",
            "fish/vendor_completions.d/larkspan.fish")}
        for command in LEAVES:
            page = (DOCUMENTS / f"man/man1/larkspan-{command[0]}.1").read_text().replace("\\-", "-")
            for short, name, _ in options_of(help_of(*command)):
                for option in filter(None, (short, name)):
                    self.assertIn(f"fB{option}\\fR", page, command)
                    for script, text in scripts.items():
                        wanted = f" -{'sl'[option[1] == '-']} {option.strip('-')} "
                        self.assertIn(wanted if script.endswith("fish") else option, text, command)

    def test_pages_and_scripts_are_clean(self):
        bash = DOCUMENTS / "bash-completion/completions/larkspan"
        for program, arguments in (("groff", ["-t", "-man", "-ww", "-z", "-Tutf8"]),
                                   ("mandoc", ["-Tlint", "-Wwarning"])):
            for page in DOCUMENTS.glob("man/*/*") if shutil.which(program) else ():
                ended = subprocess.run([program, *arguments, page], capture_output=True, check=False)
                told = [line for line in (ended.stdout + ended.stderr).splitlines()
                        if b"missing date" not in line]  # the same program, the same page
                self.assertEqual(told, [])
        for line in (["shellcheck", bash], ["zsh", "-n", DOCUMENTS / "zsh/site-functions/_larkspan"],
                     ["fish", "-n", DOCUMENTS / "fish/vendor_completions.d/larkspan.fish"]):
            if shutil.which(line[0]):
                subprocess.run(line, check=True)

    def test_bash_completes_commands_options_values_paths_and_entries(self):
        self.write("docs.lsa", header() + entry("a b") + entry("a/c") + entry("d"))
        (self.folder / "dir").mkdir()
        script = f"PATH={os.path.dirname(TOOL)}:$PATH; . {DOCUMENTS}/bash-completion/completions/larkspan\n"
        for words, expected in ((["lis"], "list"), (["create", "--meth"], "--method"),
                                (["-v", "headers", "s"], "set"), (["help", "ve"], "verify"),
                                (["create", "--method", "=", "st"], "stored"),
                                (["create", "-C", "d"], "dir"), (["list", "d"], "dir docs.lsa"),
                                (["cat", "docs.lsa", "a"], r"a\ b a/c"),
                                (["extract", "-j", "2", "docs.lsa", "d", "d"], "d")):
            call = script + f"COMP_WORDS=(larkspan {' '.join(words)}); COMP_CWORD={len(words)}\n"
            ended = subprocess.run(["bash", "-c", call + '_larkspan; echo "${COMPREPLY[@]}"'],
                                   cwd=self.folder, capture_output=True, text=True, check=True)
            found = " ".join(sorted(ended.stdout.replace("\\ ", "\0").split())).replace("\0", "\\ ")
            self.assertEqual((found, ended.stderr), (expected, ""), words)


if __name__ == "__main__":
    unittest.main()

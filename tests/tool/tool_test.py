"""The tool as its users meet it: the real program on real trees, and on archives that are bad or
ill-meant. LARKSPAN_TOOL and LARKSPAN_READER are the paths of the program and the example reader."""

import contextlib
import os
import pathlib
import signal
import stat
import subprocess
import tempfile
import time
import unittest

from archive_builder import STORED, entry, header, text, u32

TOOL = os.path.abspath(os.environ["LARKSPAN_TOOL"])
READER = os.path.abspath(os.environ["LARKSPAN_READER"])
DONE, INCOMPLETE, USAGE, SYSTEM, BAD, INTERRUPTED = 0, 1, 2, 3, 4, 130


def snapshot(folder):
    """What an archive keeps of a tree: the mode; of files also time and bytes."""
    found = {}
    for place in pathlib.Path(folder).rglob("*"):
        facts = place.stat()
        name, mode = str(place.relative_to(folder)), stat.S_IMODE(facts.st_mode)
        if place.is_file():
            found[name] = mode, facts.st_mtime_ns, place.read_bytes()
        elif not any(place.iterdir()):
            found[name] = (mode,)
    return found


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        os.umask(0o22)

    def run_tool(self, *arguments, code=DONE, data=b"", **options):
        """Runs the tool in the test's folder; gives output and messages."""
        ended = subprocess.run([TOOL, *arguments], input=data, cwd=self.folder, check=False,
                               timeout=300, **{"stdout": subprocess.PIPE,
                                               "stderr": subprocess.PIPE, **options})
        self.assertEqual(ended.returncode, code, (arguments, ended.stderr))
        self.assertRegex(ended.stderr, rb"\A((larkspan: .*|{.*})\n)*\Z")
        return ended.stdout, ended.stderr

    def write(self, name, data=b"", mode=0o644, time_ns=1_600_000_000_123_456_789):
        place = self.folder / name
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_bytes(data)
        place.chmod(mode)
        os.utime(place, ns=(time_ns, time_ns))
        return place

    def writes_new_file(self, process):
        """Whether the process has a file open besides `big.lsa`, with a name or without."""
        for place in pathlib.Path(f"/proc/{process.pid}/fd").iterdir():
            with contextlib.suppress(FileNotFoundError):
                target = os.readlink(place)
                if target.startswith(f"{self.folder}/") and not target.endswith("/big.lsa"):
                    return True
        return False


class ProgramTest(ToolTest):
    def test_exit_codes(self):
        self.write("f", b"data")
        self.write("sub/f")
        self.write("good.lsa", header(("h", "v")) + entry("f"))
        self.write("bad.lsa", b"nothing")
        self.write("climbs.lsa", header() + entry("a/../../f"))
        self.write("drive.lsa", header() + entry("C:/f"))
        self.write("folder.lsa", header(("folder:../x", "0755")) + entry("late"))
        self.write("linked.lsa", header() + entry("to/f"))
        (self.folder / "to").symlink_to("sub")
        lines = {
            DONE: ("--version", "headers set --help", "headers get good.lsa h", "list -l good.lsa",
                   "verify good.lsa 2>&-", "extract --overwrite skip good.lsa"),
            INCOMPLETE: ("extract good.lsa none", "cat good.lsa f none",
                         "headers get good.lsa none", "headers clear good.lsa none"),
            USAGE: ("", "bogus", "create a.lsa", "create --reserve 255 a f", "create -- - - -",
                    "create --method best a f", "create a -H =v f", "list ''",
                    'create a -H "n=$(printf %065536d 0)" f', "extract --overwrite maybe f",
                    'create a --stdin-name "$(printf %065536d 0)" -', "create a/ f", "create / f",
                    "create a -C sub f ../f", "headers set - a=b",
                    "headers set good.lsa novalue", "headers clear good.lsa h --all"),
            SYSTEM: ("create none/a f", "create a missing", "create a /proc/self/mem",
                     "create - f >/dev/full", "--help >/dev/full", "cat good.lsa f >/dev/full",
                     "list good.lsa >&-", "list - <&-", "create a - <&-", "extract good.lsa",
                     "create a f missing 2>&-", "list missing", "verify .", "info /proc/self/mem",
                     "extract --overwrite always linked.lsa"),
            BAD: ("list bad.lsa", "info bad.lsa", "extract bad.lsa", "cat bad.lsa f",
                  "verify bad.lsa missing good.lsa", "headers set bad.lsa a=b",
                  "extract -C sub --overwrite always climbs.lsa", "extract -C sub folder.lsa",
                  "extract drive.lsa")}
        before = snapshot(self.folder)
        for line, code in ((line, code) for code, part in lines.items() for line in part):
            with self.subTest(line):
                ended = subprocess.run(["sh", "-c", f'"$0" {line}', TOOL], cwd=self.folder,
                                       input=b"", capture_output=True, check=False)
                self.assertEqual((ended.returncode, snapshot(self.folder)), (code, before))
                told = ended.stderr.startswith(b"larkspan: ")
                self.assertEqual(told, code != DONE and "2>&-" not in line)

    def test_interruption_leaves_what_was(self):
        with open(self.write("big.lsa"), "wb") as big:  # one frame, nearly all of it a hole
            big.write(header() + text("f") + u32(STORED) + u32(0) + u32(0xF0000000))
            big.seek(0xF0000000, os.SEEK_CUR)
            big.write(u32(0) + 2 * (u32(0) + u32(0xF0000000)) + u32(0))
            big.flush()
            before = os.stat(big.fileno())
        for arguments in (("create", "a.lsa", "big.lsa"), ("create", "a.lsa", "-"),
                          ("extract", "big.lsa"), ("headers", "set", "big.lsa", "n=v")):
            with self.subTest(arguments), subprocess.Popen(
                    [TOOL, *arguments], cwd=self.folder, stdin=subprocess.PIPE) as process:
                while process.poll() is None and not self.writes_new_file(process):
                    time.sleep(0.005)
                process.send_signal(signal.SIGTERM)
                self.assertEqual(process.wait(100), INTERRUPTED)
            self.assertEqual(os.listdir(self.folder), ["big.lsa"])
        after = (self.folder / "big.lsa").stat()
        self.assertEqual((after.st_ino, after.st_mtime_ns), (before.st_ino, before.st_mtime_ns))

    def test_a_closed_pipe_is_a_failure_of_making_an_archive_alone(self):
        self.write("a.lsa", header() + b"".join(entry(f"{number:0200}") for number in range(999)))
        reading, writing = os.pipe()
        os.close(reading)
        self.addCleanup(os.close, writing)
        for arguments in (("list", "a.lsa"), ("cat", "a.lsa", "0" * 200)):
            self.assertEqual(self.run_tool(*arguments, stdout=writing)[1], b"")
        told = self.run_tool("create", "-", ".", stdout=writing, code=SYSTEM)[1]
        self.assertIn(b"nobody reads the other end", told)

    def test_terminals_get_no_archive_and_no_commands(self):
        names = "\x1b[2J", "a\nb", "\x7f", "\x9b1m", "\u202ecod.exe", "\udcff", "\ud800", "\\x1b"
        self.write("a.lsa", header(("h", "\x1b[2J")) + b"".join(map(entry, names)))
        ours, theirs = os.openpty()
        self.addCleanup(os.close, ours)
        self.addCleanup(os.close, theirs)
        self.run_tool("list", "a.lsa", stdout=theirs)
        self.assertEqual(os.read(ours, 999).decode().split("\r\n")[:-1], [
            r"\x1b[2J", r"a\x0ab", r"\x7f", r"\xc2\x9b1m", r"\xe2\x80\xaecod.exe", r"\xff",
            r"\ud800", r"\\x1b"])
        # A program gets the names themselves.
        raw = [name.encode(errors="surrogateescape") for name in names if name != "\ud800"]
        raw.insert(-1, b"\xef\xbf\xbd")
        for option, end in ((), b"\n"), (("-0",), b"\0"):
            self.assertEqual(self.run_tool("list", *option, "a.lsa")[0],
                             b"".join(name + end for name in raw))
        self.run_tool("create", "-", "a.lsa", stdout=theirs, code=USAGE)
        self.run_tool("headers", "get", "a.lsa", "h", stdout=theirs)
        self.assertEqual(os.read(ours, 999), b"\\x1b[2J\r\n")


if __name__ == "__main__":
    unittest.main()

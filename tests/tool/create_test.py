"""What `create` packs and what it tells, and what the reading commands say of an archive."""

import ctypes
import json
import os
import pathlib
import random
import resource
import shutil
import signal
import stat
import subprocess
import sys
import time
import unittest
import zlib

from archive_builder import DEFLATED, entry, header, promising_header, seal
from tool_test import (BAD, DONE, INCOMPLETE, READER, SYSTEM, TOOL, USAGE, ToolTest, snapshot)

UNFINISHED = ".larkspan-0123456789abcdef"


def drop_rights():
    """In a child process: the superuser, too, reads, enters and gives away only what others may."""
    libc = ctypes.CDLL(None)
    for capability in (0, 1, 2):  # to change owners, to pass over modes, to read and search
        libc.prctl(24, capability, 0, 0, 0)  # takes it from the programs that are started later


class CreateTest(ToolTest):
    def make_nasty_tree(self):
        for name in ("with blank", "Übergröße", "\N{GRINNING FACE}", "no\udcffutf8",
                     "back\\slash", "tab\t\x1b[31m", "[list,of]", "sub/\udc80/x"):
            self.write("tree/" + name, os.fsencode(name))
        self.write("tree/empty")
        self.write("tree/sub/sub/deep", random.Random(1).randbytes(600_000))
        self.write("tree/read-only", b"r", mode=0o400, time_ns=-1_500_000_000)
        self.write("tree/secret.sh", b"#!", mode=0o700, time_ns=-1)
        for name in ("none/in here", "none/\udcfe", "only"):
            (self.folder / "tree" / name).mkdir(parents=True)
        (self.folder / "tree/only").chmod(0o500)
        return self.folder / "tree"

    def test_nasty_tree_comes_back_by_file_and_by_stream(self):
        before = snapshot(self.make_nasty_tree())
        # A backslash would be a separator, and travels as a byte that is no text.
        sums = {"tree/" + name.replace("\\", "\udc5c"): zlib.crc32(facts[2])
                for name, facts in before.items() if len(facts) == 3}
        for method in ("deflated", "stored"):
            self.run_tool("create", "-H", "owner=Ädä", "--reserve", "256", "--method", method,
                          method + ".lsa", "tree")
            self.run_tool("extract", "-C", method, method + ".lsa")
            dump = subprocess.run([sys.executable, READER, "dump", method + ".lsa"], check=True,
                                  cwd=self.folder, capture_output=True).stdout.splitlines()
            if shutil.which("javac"):
                java = os.path.join(os.path.dirname(READER), "ReadArchive.java")
                self.assertEqual(subprocess.check_output(
                    ["java", java, "dump", method + ".lsa"], cwd=self.folder).splitlines(), dump)
            head, *rows = map(json.loads, dump)
            self.assertEqual((head["reservedSize"], head["headers"]["owner"]), (256, "Ädä"))
            self.assertEqual({row["name"]: row["crc"] for row in rows}, sums)
        stream, _ = self.run_tool("create", "-", "tree")
        self.run_tool("extract", "-C", "streamed", "-", data=stream)
        for folder in ("deflated", "stored", "streamed"):
            self.assertEqual(snapshot(self.folder / folder / "tree"), before)

    def test_every_name_that_is_packed_comes_back(self):
        bytes_of_names = [bytes([byte]) for byte in range(1, 256) if byte not in b"./"]
        top = os.fsencode(self.folder / "in")
        for name in [b"C" + byte for byte in bytes_of_names] + bytes_of_names + [
                b"z:/d/f", b"Y:/void/", b"C:\\f", b"...", b"..a", b".larkspan-", b"x" * 255]:
            place = os.path.join(top, name)
            os.makedirs(os.path.dirname(place), exist_ok=True)
            if not name.endswith(b"/"):
                with open(place, "wb") as file:
                    file.write(name)
        before = snapshot(self.folder / "in")
        self.run_tool("create", "a.lsa", "-C", "in", ".")
        self.run_tool("extract", "-C", "out", "a.lsa")
        self.assertEqual(snapshot(self.folder / "out"), before)
        self.assertEqual(self.run_tool("cat", "a.lsa", "z:/d/f")[0], b"z:/d/f")

    def test_what_is_left_out_is_told_and_leaves_no_trace(self):
        self.write("tree/file", b"data")
        for link, target in (("to-file", "file"), ("to-folder", "."), ("to-nothing", "gone")):
            (self.folder / "tree" / link).symlink_to(target)
        os.mkfifo(self.folder / "tree/pipe")
        self.write("tree/closed", mode=0)
        self.write("tree/blind/f").parent.chmod(0o600)
        self.write("tree/above/shut/f").parent.chmod(0)
        self.write("tree/" + UNFINISHED)
        _, messages = self.run_tool("create", "-L", "a.lsa", "tree", code=INCOMPLETE,
                                    preexec_fn=drop_rights)
        for name in ("blind", "above/shut"):
            (self.folder / "tree" / name).chmod(0o700)
        self.assertEqual({line.split(b": ")[1] for line in messages.splitlines()},
                         {b"tree/" + name for name in (
                             b"to-folder", b"to-nothing", b"pipe", b"closed", b"blind",
                             b"above/shut", UNFINISHED.encode())})
        self.assertEqual(self.run_tool("list", "a.lsa")[0], b"tree/file\ntree/to-file\n")
        self.run_tool("create", "--stdin-name", "d/" + UNFINISHED, "b.lsa", "-", code=USAGE)

    def test_the_archive_leaves_itself_out(self):
        self.write("tree/f", b"x")
        self.write("tree/a.lsa")
        (self.folder / "tree/other-name").hardlink_to(self.folder / "tree/a.lsa")
        _, messages = self.run_tool("create", "--force", "tree/a.lsa", "tree")
        self.assertEqual(messages.count(b"left out: it is the archive itself"), 2)
        with open(self.write("tree/b.lsa"), "wb") as output:
            self.run_tool("create", "-", "tree/f", "tree/b.lsa", stdout=output)
        for name in ("tree/a.lsa", "tree/b.lsa"):
            self.assertEqual(self.run_tool("list", name)[0], b"tree/f\n")

    def test_entries_have_relative_names_in_one_order_and_equal_bytes_each_time(self):
        for name in ("g", "dir/g", "dir/sub/f", "list", "--force", "m/z", "m/a/c", "m/a/b"):
            self.write(name)
        rows = (((f"{self.folder}/g",), f"{self.folder}/g\n"[1:]), (("dir/../g", "./g"), "g\n"),
                (("-C", "dir/sub", "../../g", "f"), "g\nf\n"),
                (("dir", "./dir", "dir//sub/./"), "dir/g\ndir/sub/f\n"),
                (("list", "--", "--force"), "list\n--force\n"),
                (("-C", "m", ".", "-"), "a/b\na/c\nz\nstdin\n"))
        for arguments, names in rows:
            stream, _ = self.run_tool("create", "-", *arguments, data=b"in")
            self.assertEqual(self.run_tool("create", "-", *arguments, data=b"in")[0], stream)
            self.assertEqual(self.run_tool("list", "-", data=stream)[0].decode(), names)

    def test_paths_longer_than_the_system_takes_come_back(self):
        here = os.getcwd()
        try:
            os.chdir(self.folder)
            for depth in range(30):
                os.mkdir(f"{depth}_" + "x" * 190)
                os.chdir(f"{depth}_" + "x" * 190)
            pathlib.Path("deep").write_bytes(b"data")
            os.symlink("deep", "link")
        finally:
            os.chdir(here)
        top = "0_" + "x" * 190
        self.run_tool("create", "a.lsa", top)
        self.run_tool("extract", "-C", "out", "a.lsa")
        self.assertEqual(self.run_tool("diff", "-C", "out", "--all", "a.lsa")[0], b"")
        self.assertEqual(len(self.run_tool("list", "a.lsa")[0].splitlines()), 2)

    def test_dry_runs_tell_and_write_nothing(self):
        self.write("t/a")
        self.run_tool("create", "-H", "owner=ada", "a.lsa", "t")
        self.write("out/t/a", b"old")
        before = snapshot(self.folder)
        for arguments, shown, code in (
                (("create", "-n", "b.lsa", "t"), b"add t/a\n", DONE),
                (("create", "-n", "a.lsa", "t"), b"", SYSTEM),
                (("extract", "-n", "-C", "new", "a.lsa"), b"extract t/a\n", DONE),
                (("extract", "-n", "-C", "out", "a.lsa"), b"", SYSTEM),
                (("extract", "-n", "-C", "out", "--overwrite", "skip", "a.lsa"), b"keep t/a\n", DONE),
                (("extract", "-n", "--strip-components", "1", "a.lsa"), b"extract a\n", DONE),
                (("headers", "set", "-n", "a.lsa", "x=y"), b"set x\n", DONE),
                (("headers", "clear", "-n", "a.lsa", "owner"), b"clear owner\n", DONE)):
            output = self.run_tool(*arguments, code=code)[0]
            output = b"".join(line for line in output.splitlines(True) if line != b"set seal\n")
            self.assertEqual(output, shown, arguments)
        self.assertEqual(snapshot(self.folder), before)

    def test_paths_come_from_files_and_patterns_leave_out(self):
        for name in ("t/keep.c", "t/drop.o", "t/sub/deep/drop.o", "t/sub/keep.o", "t/tmp/f", "u/tmp"):
            self.write(name)
        self.write("paths", b"t\nu\n")
        self.write("patterns", b"*.o\r\n!sub/keep.o\n!/t/sub/keep.o\n")
        arguments = ("-T", "paths", "--exclude-from", "patterns", "--exclude", "tmp/")
        expected = ["t/sub/deep/", "t/keep.c", "t/sub/keep.o", "u/tmp"]
        self.run_tool("create", "a.lsa", *arguments)
        self.assertEqual(self.run_tool("list", "a.lsa")[0].decode().split(), expected)
        added = self.run_tool("add", "-n", "-0", "a.lsa", "--exclude", "*.o", "-T", "-",
                              data=b"t/sub\0t/tmp\0")[0]
        self.assertEqual(added, b"add t/sub/\0add t/tmp/f\0")

    def test_levels_trade_time_for_bytes(self):
        words = [b"%d of %x" % (number * number, number % 9973) for number in range(150_000)]
        data = self.write("f", b"\n".join(words)).read_bytes()
        sizes = []
        for level in ("fast", "default", "best"):
            made = [self.run_tool("create", "--level", level, "-j", jobs, "-", "f")[0]
                    for jobs in ("1", "3")]
            self.assertEqual(made[0], made[1])
            self.assertEqual(self.run_tool("cat", "-", "f", data=made[0])[0], data)
            sizes.append(len(made[0]))
        self.assertEqual(sizes, sorted(set(sizes), reverse=True))
        self.assertEqual(len(self.run_tool("create", "-", "f")[0]), sizes[1])

    def test_data_that_does_not_shrink_is_stored(self):
        names = [".gz", "a.JPG", "b.txt", "c.tar.gz", "d.gz/e", "f"]
        for name in names:
            self.write(name, b"data")
        for option, stored in (([], ["a.JPG", "c.tar.gz"]), (["none"], []),
                               ([".TXT, tar"], ["b.txt"])):
            arguments = [f"--stored-suffixes={word}" for word in option]
            for command in (["create", "--force"], ["add"]):
                self.run_tool(*command, *arguments, "a.lsa", *names)
                rows = self.run_tool("list", "-l", "a.lsa")[0].decode().splitlines()
                self.assertEqual([row.split()[-1] for row in rows if " stored " in row], stored)
        for bad in ("a,b/c", "", "a,,b"):
            self.run_tool("create", "--stored-suffixes", bad, "b.lsa", "f", code=USAGE)

    def test_what_force_replaces(self):
        self.write("f", b"x")
        self.write("old", b"old", mode=0o600)
        (self.folder / "folder").mkdir()
        os.mkfifo(self.folder / "pipe")
        for link, target in (("nowhere", "gone"), ("to-old", "old"), ("to-folder", "folder")):
            (self.folder / link).symlink_to(target)
        for name, code in (("folder", SYSTEM), ("pipe", SYSTEM), ("to-folder", SYSTEM),
                           ("/dev/null", SYSTEM), ("nowhere", DONE), ("to-old", DONE),
                           ("old", DONE)):
            self.run_tool("create", name, "f", code=SYSTEM)
            self.assertEqual((self.folder / "old").read_bytes(), b"old")
            self.run_tool("create", "--force", name, "f", code=code)
        self.run_tool("verify", "nowhere", "to-old", "old")
        self.assertEqual(stat.S_IMODE((self.folder / "old").stat().st_mode), 0o600)
        self.assertFalse((self.folder / "gone").exists())

    def test_force_keeps_owner_group_and_permissions_or_tells(self):
        if os.geteuid() != 0:
            self.skipTest("only the superuser can give files away")
        self.write("f", b"x")
        for owner, mode, rights, code, kept in (
                ((1234, 2345), 0o664, None, DONE, (1234, 2345, 0o664)),
                ((1234, 2345), 0o4664, drop_rights, INCOMPLETE, (0, 0, 0o644)),
                ((0, 0), 0o604, drop_rights, DONE, (0, 0, 0o604))):
            place = self.write("a.lsa", b"old")
            os.chown(place, *owner)
            place.chmod(mode)
            told = self.run_tool("create", "--force", "a.lsa", "f", code=code,
                                 preexec_fn=rights)[1]
            self.assertEqual(b"can't be kept" in told, code != DONE)
            facts = place.stat()
            self.assertEqual((facts.st_uid, facts.st_gid, stat.S_IMODE(facts.st_mode)), kept)
            place.unlink()

    def test_files_that_change_while_they_are_read_are_told(self):
        def replace(place):
            self.write("other", b"0123456789", time_ns=1).rename(place)

        for change in (lambda place: os.truncate(place, 5), replace, os.utime,
                       lambda place: place.write_bytes(b"longer than before"), None):
            place = self.write("f", b"0123456789")
            with self.subTest(change), subprocess.Popen(  # waits for its input before it reads f
                    [TOOL, "create", "--force", "a.lsa", "-", "f"], cwd=self.folder,
                    stdin=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                while process.poll() is None and not self.writes_new_file(process):
                    time.sleep(0.005)
                if change:
                    change(place)
                told = process.communicate()[1]
                self.assertEqual(b"f: changed while it was read" in told, change is not None)
                self.assertEqual(process.returncode, INCOMPLETE if change else DONE)
            self.run_tool("verify", "a.lsa")
            self.assertEqual(self.run_tool("cat", "a.lsa", "f")[0], place.read_bytes())

    def test_archives_that_are_not_completed_leave_nothing(self):
        self.write("in/f", random.Random(2).randbytes(99999))

        def limit_size():
            resource.setrlimit(resource.RLIMIT_FSIZE, (5000, 5000))

        self.assertIn(b"a.lsa: can't be written: File too large", self.run_tool(
            "create", "a.lsa", "in", code=SYSTEM, preexec_fn=limit_size)[1])
        self.assertEqual(os.listdir(self.folder), ["in"])
        with subprocess.Popen([TOOL, "create", "a.lsa", "-"], cwd=self.folder,
                              stdin=subprocess.PIPE) as process:
            while process.poll() is None and not self.writes_new_file(process):
                time.sleep(0.005)
            process.send_signal(signal.SIGKILL)
        # Where the file system has no files without names, the next run takes away what is left.
        self.run_tool("create", "a.lsa", "in")
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.lsa", "in"])


class ReportTest(ToolTest):
    def test_damage_seal_and_end_are_told(self):
        first, second = {"name": "a"}, {"name": "b", "data": b"x" * 97}
        one, two = entry(**first), entry(**second)
        good, sealed = one + two, promising_header() + one + two
        bad = entry(**first, crc=1) + entry("c", b"abc" * 9, DEFLATED, carried=b"junk")
        lost = entry("lost", b"1234", chunk=2)[:-27]
        rows = (  # archive, exit code, what is said of entries and seal, messages
            (sealed + seal(first, second), DONE, "ok (2 entries, 100 bytes, sealed)", []),
            (header() + good, DONE, "ok (2 entries, 100 bytes, not sealed)", []),
            (header() + good + b"\0\5name", INCOMPLETE,
             "not ok (2 entries, 100 bytes, not sealed)", ["inside the name"]),
            (header(reserved=256)[:99], INCOMPLETE,
             "not ok (0 entries, 0 bytes, not sealed)", ["inside its header"]),
            (sealed + seal(second, first), BAD,
             "not ok (2 entries, 100 bytes, seal wrong)", ["does not fit"]),
            (sealed, BAD, "not ok (2 entries, 100 bytes, seal missing)", ["is missing"]),
            (header() + good + seal(first, second), BAD,
             "not ok (2 entries, 100 bytes, seal not promised)", ["does not promise"]),
            (header(("seal", "1 00000001")) + good + seal(first, second), BAD,
             "not ok (2 entries, 100 bytes, sealed)", ["header is torn"]),
            (sealed + bad + two + seal(first, second), BAD,
             "not ok (5 entries, 2 of them damaged, 197 bytes, seal wrong)",
             ["entry a: ", "entry c: ", "does not fit"]),
            (header() + bad + two + lost, BAD, "",
             ["entry a: ", "entry c: ", "entry lost: ", "no entry after lost can be read: "]),
        )
        for number, (data, code, said, messages) in enumerate(rows):
            self.write("a.lsa", data)
            for names in (["a.lsa"], ["-j", "1", "a.lsa"], ["-"]):
                output, told = self.run_tool("verify", *names, data=data, code=code)
                self.assertEqual(output.partition(b": ")[2].decode().rstrip(), said)
                for line, part in zip(told.decode().splitlines(), messages, strict=True):
                    self.assertIn(part, line)
            facts = dict(line.split(": ") for line in
                         self.run_tool("info", "a.lsa", code=code)[0].decode().splitlines())
            if "damaged" not in said and said:
                self.assertIn(facts["seal"].partition(",")[0] + ")", said)
            self.run_tool("list", "a.lsa", code=code)
            told = self.run_tool("extract", "--keep-going", "-C", str(number), "a.lsa",
                                 code=code)[1]
            for line, part in zip(told.decode().splitlines(), messages, strict=True):
                self.assertIn(part, line)
            self.assertEqual((self.folder / str(number) / "b").exists(), b"x" * 97 in data)


if __name__ == "__main__":
    unittest.main()

"""The tool as its users meet it: the real program on real trees, its messages and exit codes, and
archives that are bad or ill-meant. LARKSPAN_TOOL is the path of the program."""

import hashlib
import json
import os
import pathlib
import signal
import stat
import subprocess
import sys
import tempfile
import time
import unittest
import zlib

TOOL = os.environ["LARKSPAN_TOOL"]
READER = pathlib.Path(__file__).resolve().parents[2] / "examples" / "read_archive.py"
DONE, INCOMPLETE, USAGE, SYSTEM, BAD, INTERRUPTED = 0, 1, 2, 3, 4, 130


def u32(value):
    return value.to_bytes(4, "big")


def text(value):
    data = value.encode("utf-8", "surrogatepass").replace(b"\0", b"\xc0\x80")
    return len(data).to_bytes(2, "big") + data


def pairs(headers):
    return u32(len(headers)) + b"".join(text(part) for pair in headers for part in pair)


def archive(*entries, headers=()):
    """A stored archive of (name, data) or (name, data, headers), with nothing reserved."""
    block = b"LarkspanArchive" + u32(1) + u32(0) + u32(0) + pairs(headers)
    for name, data, *rest in entries:
        size = len(data).to_bytes(8, "big")
        frame = u32(len(data)) + data if data else b""
        block += text(name) + u32(2) + pairs(rest[0] if rest else ()) + frame + u32(0)
        block += size + size + u32(zlib.crc32(data))
    return block


def snapshot(folder):
    """Everything below `folder` that an archive keeps: path, mode, and of files time and bytes."""
    found = {}
    for place, folders, files in os.walk(os.fsencode(folder)):
        path = os.path.relpath(place, os.fsencode(folder))
        if not folders and not files:
            found[path] = stat.S_IMODE(os.stat(place).st_mode)
        for name in files:
            at = os.path.join(place, name)
            facts = os.stat(at)
            if stat.S_ISREG(facts.st_mode):
                found[os.path.normpath(os.path.join(path, name))] = (
                    stat.S_IMODE(facts.st_mode), facts.st_mtime_ns, pathlib.Path(
                        os.fsdecode(at)).read_bytes())
    return found


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_tool(self, *arguments, code=DONE, data=b"", **options):
        """Runs the tool in the test's folder; gives output and messages."""
        ended = subprocess.run([TOOL, *arguments], input=data, cwd=self.folder, check=False,
                               timeout=300, **{"stdout": subprocess.PIPE,
                                              "stderr": subprocess.PIPE, **options})
        self.assertEqual(ended.returncode, code, (arguments, ended.stderr))
        self.assertTrue(all(line.startswith(b"larkspan: ") for line in
                            (ended.stderr or b"").splitlines()) or "--verbose" in arguments)
        return ended.stdout, ended.stderr

    def write(self, name, data=b"", mode=0o644, time_ns=None):
        place = os.path.join(os.fsencode(self.folder), os.fsencode(name))
        os.makedirs(os.path.dirname(place), exist_ok=True)
        with open(place, "wb") as file:
            file.write(data)
        os.chmod(place, mode)
        if time_ns is not None:
            os.utime(place, ns=(time_ns, time_ns))
        return pathlib.Path(os.fsdecode(place))

    def make_nasty_tree(self):
        files = {"empty": b"", "with blank": b" ", "Übergröße": b"\xc3", "\N{GRINNING FACE}": b"e",
                 b"no\xffutf8": b"raw", b"back\\slash": b"\\", b"tab\t\x1b[31m": b"\x1b",
                 "[list,of]": b"[]", "sub/sub/deep": bytes(range(256)) * 3000,
                 b"sub/\x80/x": b"x"}
        for name, data in files.items():
            self.write(b"tree/" + os.fsencode(name), data, time_ns=1_600_000_000_123_456_789)
        self.write("tree/read-only", b"r", mode=0o400, time_ns=-1_500_000_000)
        self.write("tree/secret.sh", b"#!", mode=0o700, time_ns=-1)
        for name in (b"none/in here", b"none/\xfe", b"only"):
            os.makedirs(os.path.join(os.fsencode(self.folder), b"tree", name))
        (self.folder / "tree/only").chmod(0o500)
        return self.folder / "tree"

    def names_left(self, folder="."):
        return sorted(os.listdir(self.folder / folder))


class RoundTripTest(ToolTest):
    def test_nasty_tree_comes_back_by_file_and_by_stream(self):
        tree = self.make_nasty_tree()
        for method in ("deflated", "stored"):
            self.run_tool("create", "--force", "--method", method, "a.lsa", "tree")
            self.run_tool("extract", "-C", f"new/{method}", "a.lsa")
            self.assertEqual(snapshot(self.folder / "new" / method / "tree"), snapshot(tree))
        stream, _ = self.run_tool("create", "-", "tree")
        self.run_tool("extract", "-C", "streamed", "-", data=stream)
        self.assertEqual(snapshot(self.folder / "streamed/tree"), snapshot(tree))
        files = [facts[2] for facts in snapshot(tree).values() if isinstance(facts, tuple)]
        outcome = f": ok ({len(files)} entries, {sum(map(len, files))} bytes)\n"
        self.assertEqual(self.run_tool("verify", "a.lsa", "-", data=stream)[0].decode(),
                         "a.lsa" + outcome + "standard input" + outcome)

    def test_equal_input_gives_equal_bytes(self):
        for name in ("z", "a", "m/b", "m/a"):
            self.write("one/" + name, name.encode(), time_ns=10**18)
        for name in ("m/a", "m/b", "a", "z"):  # made in another order
            self.write("two/" + name, name.encode(), time_ns=10**18)
        one, _ = self.run_tool("create", "-C", "one", "-", ".", "-", data=b"in")
        two, _ = self.run_tool("create", "-C", "two", "-", ".", "-", data=b"in")
        self.assertEqual(one, two)
        self.assertEqual(self.run_tool("list", "-", data=one)[0], b"a\nm/a\nm/b\nz\nstdin\n")

    def test_an_independent_reader_finds_the_same(self):
        self.make_nasty_tree()
        self.run_tool("create", "-H", "owner=Ädä", "--reserve", "256", "a.lsa", "tree")
        dump = subprocess.run([sys.executable, READER, "dump", "a.lsa"], cwd=self.folder,
                              capture_output=True, check=True).stdout.splitlines()
        head, *rows = map(json.loads, dump)
        self.assertEqual((head["reservedSize"], head["headers"]), (256, {
            "owner": "Ädä", "folder:tree/none/in here": "0755",
            "folder:tree/none/\udcfe": "0755", "folder:tree/only": "0500"}))
        # The reader's texts are Python's own names, but for the backslash, which separates there.
        rows = {row["name"].replace("\udc5c", "\\"): row for row in rows}
        places = {os.fsdecode(place): facts for place, facts in
                  snapshot(self.folder / "tree").items() if isinstance(facts, tuple)}
        self.assertEqual(set(rows), {"tree/" + name for name in places})
        for name, (mode, time_ns, data) in places.items():
            row = rows["tree/" + name]
            sign, whole, part = "-" * (time_ns < 0), *divmod(abs(time_ns), 10**9)
            self.assertEqual((row["size"], row["crc"], row["sha256"], row["headers"]), (
                len(data), zlib.crc32(data), hashlib.sha256(data).hexdigest(),
                {"mtime": f"{sign}{whole}.{part:09}", "mode": f"0{mode:03o}"}))

    def test_links_and_what_is_no_file(self):
        self.write("tree/file", b"data")
        for link, target in (("to-file", "file"), ("to-folder", "."), ("to-nothing", "gone")):
            (self.folder / "tree" / link).symlink_to(target)
        os.mkfifo(self.folder / "tree/pipe")
        _, messages = self.run_tool("create", "a.lsa", "tree", code=INCOMPLETE)
        for part in (b"tree/to-folder: left out: a link to", b"tree/to-nothing: left out: a link",
                     b"tree/pipe: left out: neither"):
            self.assertIn(part, messages)
        self.assertEqual(self.run_tool("list", "a.lsa")[0], b"tree/file\ntree/to-file\n")
        self.assertEqual(self.run_tool("cat", "a.lsa", "tree/to-file")[0], b"data")

    def test_reserve_and_stored_size(self):
        self.write("f", b"x" * 100)
        for options, reserved in (((), 4096), (("--reserve", "0"), 0), (("--reserve", "300"), 300),
                                  (("--reserve", "256", "-H", "a=" + "b" * 1000), 2048)):
            self.run_tool("create", "--force", "--method", "stored", *options, "a.lsa", "f")
            info = self.run_tool("info", "a.lsa")[0].decode()
            self.assertIn(f"reserved size: {reserved}\n", info)
            self.assertIn("size: 100\narchived size: 100\nratio: 100.0 %\n", info)
            self.assertIn("verified: yes\n", info)


class CreateTest(ToolTest):
    def test_the_archive_leaves_itself_out(self):
        self.write("tree/f", b"x")
        self.run_tool("create", "tree/a.lsa", "tree")
        (self.folder / "tree/other-name").hardlink_to(self.folder / "tree/a.lsa")
        _, messages = self.run_tool("create", "--force", "tree/a.lsa", "tree")
        self.assertEqual(messages.count(b"left out: it is the archive itself"), 2)
        self.assertEqual(self.run_tool("list", "tree/a.lsa")[0], b"tree/f\n")
        (self.folder / "tree/other-name").unlink()
        with open(self.folder / "tree/a.lsa", "wb") as output:
            self.run_tool("create", "-", "tree", stdout=output)
        self.assertEqual(self.run_tool("list", "tree/a.lsa")[0], b"tree/f\n")

    def test_an_archive_that_exists_stays_without_force(self):
        self.write("f", b"new")
        self.write("a.lsa", b"old", mode=0o600)
        _, messages = self.run_tool("create", "a.lsa", "f", code=SYSTEM)
        self.assertIn(b"--force", messages)
        self.assertEqual((self.folder / "a.lsa").read_bytes(), b"old")
        self.run_tool("create", "--force", "a.lsa", "f")
        self.assertEqual(self.run_tool("cat", "a.lsa", "f")[0], b"new")
        self.assertEqual(stat.S_IMODE((self.folder / "a.lsa").stat().st_mode), 0o600)
        self.assertEqual(self.names_left(), ["a.lsa", "f"])

    def test_names_of_entries(self):
        self.write("dir/sub/f", b"1")
        self.write("g", b"2")
        full = str(self.folder)[1:]
        rows = (((f"{self.folder}/g",), f"{full}/g\n", True), (("dir/../g", "./g"), "g\n", True),
                (("-C", "dir/sub", "../../g", "f"), "g\nf\n", True), (("dir", "dir/sub/f"),
                "dir/sub/f\n", False), (("-C", "dir", "."), "sub/f\n", False),
                (("g", "dir//sub/./"), "g\ndir/sub/f\n", False))
        for arguments, names, noted in rows:
            stream, messages = self.run_tool("create", "-", *arguments)
            self.assertEqual(self.run_tool("list", "-", data=stream)[0].decode(), names)
            self.assertEqual(messages.count(b"entry names are relative"), noted)

    def test_names_that_would_stand_twice(self):
        self.write("g")
        self.write("dir/g")
        self.write("dir/sub/f")
        self.write("x/dir/sub")  # a file with the name of a folder
        (self.folder / "y/dir").mkdir(parents=True)  # empty there, and not here
        for arguments, code in ((("dir", "./dir"), DONE),
                                (("-C", "dir", "g", "../dir/./../dir/../dir/g"), DONE),
                                (("-C", "dir", "g", "../g"), USAGE),
                                (("-C", "x", "dir", "../dir"), USAGE),
                                (("-C", "y", "dir", "../dir"), DONE)):
            _, messages = self.run_tool("create", "--force", "a.lsa", *arguments, code=code)
            self.assertEqual(b"two different files" in messages, code == USAGE)
        self.assertEqual(self.run_tool("list", "a.lsa")[0], b"dir/g\ndir/sub/f\n")

    def test_failures_leave_no_file(self):
        self.write("f", b"x")
        rows = [(("none/a.lsa", "f"), SYSTEM), (("a.lsa", "missing"), SYSTEM),
                (("a.lsa", "--stdin-name", "n" * 65536, "-"), USAGE),
                (("a.lsa", "-H", "n=" + "\u20ac" * 21846, "f"), USAGE),
                (("a.lsa", "-H", "=v", "f"), USAGE), (("a.lsa", "-", "-"), USAGE),
                (("a.lsa", "/proc/self/mem"), SYSTEM)]  # opens, and can't be read
        for arguments, code in rows:
            self.run_tool("create", *arguments, code=code)
            self.assertEqual(self.names_left(), ["f"])
        with open("/dev/full", "wb") as full:
            for arguments in (("create", "-", "f"), ("--help",)):
                _, messages = self.run_tool(*arguments, code=SYSTEM, stdout=full)
                self.assertIn(b"standard output: can't be written: no space left", messages)

    @unittest.skipIf(os.geteuid() == 0, "the superuser can read every file")
    def test_unreadable_files_are_left_out(self):
        self.write("tree/a", b"a", mode=0)
        self.write("tree/b", b"b")
        _, messages = self.run_tool("create", "a.lsa", "tree", code=INCOMPLETE)
        self.assertIn(b"tree/a: left out: access denied", messages)
        self.assertEqual(self.run_tool("list", "a.lsa")[0], b"tree/b\n")

    def test_interruption_removes_the_unfinished_file(self):
        with open(self.write("big"), "wb") as big:
            big.truncate(1 << 36)
        for path in ("big", "-"):  # at work, and waiting for input
            with subprocess.Popen([TOOL, "create", "a.lsa", path], cwd=self.folder,
                                  stdin=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
                while not [name for name in self.names_left() if name.startswith(".larkspan-")]:
                    time.sleep(0.01)
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(100), INTERRUPTED)
            self.assertEqual(self.names_left(), ["big"])


    def test_what_force_replaces(self):
        self.write("f", b"x")
        self.write("old", b"old")
        (self.folder / "folder").mkdir()
        os.mkfifo(self.folder / "pipe")
        for link, target in (("nowhere", "gone"), ("to-file", "old"), ("to-folder", "folder")):
            (self.folder / link).symlink_to(target)
        for name, code in (("folder", SYSTEM), ("pipe", SYSTEM), ("to-folder", SYSTEM),
                           ("/dev/null", SYSTEM), ("new/", USAGE), ("", USAGE), ("/", USAGE),
                           ("nowhere", DONE), ("to-file", DONE)):
            self.run_tool("create", "--force", name, "f", code=code)
            if code == DONE:
                self.assertEqual(self.run_tool("list", name)[0], b"f\n")
        self.assertEqual((self.folder / "old").read_bytes(), b"old")
        self.assertFalse((self.folder / "gone").exists())

    def test_standard_input_keeps_the_time_of_a_file_alone(self):
        with open(self.write("f", b"x", time_ns=5 * 10**9), "rb") as file:
            for options, mtime in ((({"input": None, "stdin": file}), b"1970-01-01 00:00:05 "),
                                   ({}, b"- ")):
                run = subprocess.run([TOOL, "create", "--stdin-name", "a/../n", "-", "-"],
                                     check=True, capture_output=True, **({"input": b""} | options))
                listing, _ = self.run_tool("list", "-l", "-", data=run.stdout)
                self.assertTrue(listing.startswith(b" 0644 "))
                self.assertTrue(listing.endswith(b"n\n") and mtime in listing, listing)

    def test_big_entries_take_no_memory(self):
        peaks = []
        for size in (1 << 10, 200 << 20):
            with open(self.write("big"), "wb") as big:
                big.truncate(size)
            for arguments in (("create", "--force", "a.lsa", "big"), ("verify", "a.lsa"),
                              ("extract", "--overwrite", "always", "a.lsa")):
                with subprocess.Popen([TOOL, *arguments], cwd=self.folder,
                                      stdout=subprocess.DEVNULL) as process:
                    _, status, usage = os.wait4(process.pid, 0)
                    process.returncode = status
                self.assertEqual(status, 0)
                peaks.append(usage.ru_maxrss)
        self.assertLess(max(peaks) - min(peaks), 20000)  # KiB


class ExtractTest(ToolTest):
    def test_overwriting(self):
        self.write("a.lsa", archive(("f", b"new"), ("g", b"g"), ("g", b"later")))
        rows = (("fail", SYSTEM, b"old", None), ("skip", DONE, b"old", b"later"),
                ("always", DONE, b"new", b"later"))
        for how, code, first, second in rows:
            target = self.write(f"{how}/f", b"old").parent
            self.run_tool("extract", "-C", how, "--overwrite", how, "a.lsa", code=code)
            self.assertEqual((target / "f").read_bytes(), first)
            self.assertEqual((target / "g").exists() and (target / "g").read_bytes() or None,
                             second)

    def test_selection(self):
        entries = (("a/b", b""), ("a/bc", b""), ("ab", b""), ("d\\e", b""), ("x\udcff", b""))
        self.write("a.lsa", archive(*entries, headers=(("folder:a/void", "0750"),)))
        rows = ((("a",), {"a/b", "a/bc", "a/void"}), (("a/b",), {"a/b"}), (("./a/",), {"a/b",
                "a/bc", "a/void"}), ((b"x\xff", "d\\e"), {"x\udcff", "d/e"}))
        for number, (names, expected) in enumerate(rows):
            self.run_tool("extract", "-C", str(number), "a.lsa", *names)
            found = {os.fsdecode(name) for name in snapshot(self.folder / str(number))}
            self.assertEqual(found, expected)
        _, messages = self.run_tool("extract", "-C", "n", "a.lsa", "ab", "b", code=INCOMPLETE)
        self.assertIn(b"no entry named b\n", messages)
        self.assertEqual(self.names_left("n"), ["ab"])

    def test_no_name_leads_out_of_the_target(self):
        outside = self.write("outside/f", b"old").parent
        for name in ("../f", "a/../../f", "..", "//f", "C:/f", "a\0b", "link/f", "link",
                     "d\\..\\f"):
            for content in (archive(("good", b"1"), (name, b"2"), ("late", b"3")),
                            archive(("good", b"1"), headers=(("folder:" + name, "0755"),))):
                with self.subTest(name), tempfile.TemporaryDirectory(dir=self.folder) as target:
                    (pathlib.Path(target) / "link").symlink_to(outside)
                    _, messages = self.run_tool("extract", "-C", target, "-", code=BAD,
                                                data=content)
                    self.assertIn(b"is refused: ", messages)
                    self.assertNotIn(b"\0", messages)
                    self.assertLessEqual(set(os.listdir(target)), {"good", "link"})
                    self.assertEqual(self.names_left("outside"), ["f"])
        self.assertEqual((outside / "f").read_bytes(), b"old")

    def test_facts_that_are_strange_or_missing(self):
        rows = (("06755", "1.5", 0o755, 1_500_000_000), ("0640", "-0.000000001", 0o640, -1),
                ("0600", "7", 0o600, 7 * 10**9), ("rwx", "soon", None, None), ("99", "-", None,
                None), ("0604", "", 0o604, None), ("", "2.25", None, 2_250_000_000))
        for number, (mode, mtime, kept_mode, kept_time) in enumerate(rows):
            headers = (("mode", mode), ("mtime", mtime))
            self.run_tool("extract", "-C", "new", "-", data=archive((f"f{number}", b"", headers)))
            facts = (self.folder / f"new/f{number}").stat()
            with self.subTest((mode, mtime)):
                if kept_mode is not None:
                    self.assertEqual(stat.S_IMODE(facts.st_mode), kept_mode)
                recent = abs(facts.st_mtime - time.time()) < 100
                self.assertTrue(recent if kept_time is None else facts.st_mtime_ns == kept_time)


    def test_files_and_folders_in_each_others_places(self):
        rows = (("file under a file", (("f/g", b""),), (), SYSTEM, SYSTEM),
                ("file in a folder's place", (("d", b""),), (), SYSTEM, DONE),
                ("folder in a file's place", (), ("folder:f",), SYSTEM, DONE),
                ("folder that is there", (), ("folder:d",), DONE, DONE))
        for title, entries, folders, code, skipped in rows:
            content = archive(*entries, headers=[(name, "0711") for name in folders])
            for how in ("fail", "always", "skip"):
                with self.subTest(title, how=how), tempfile.TemporaryDirectory() as target:
                    (pathlib.Path(target) / "f").write_bytes(b"old")
                    (pathlib.Path(target) / "d").mkdir(mode=0o750)
                    self.run_tool("extract", "--overwrite", how, "-C", target, "-", data=content,
                                  code=skipped if how == "skip" else code)
                    self.assertEqual((pathlib.Path(target) / "f").read_bytes(), b"old")
                    mode = 0o711 if (folders, how) == (("folder:d",), "always") else 0o750
                    facts = (pathlib.Path(target) / "d").stat()
                    self.assertEqual(stat.S_IMODE(facts.st_mode), mode)
                    self.assertEqual(sorted(os.listdir(target)), ["d", "f"])

    def test_folders_that_are_closed_to_writing_come_last(self):
        modes = {"a/b/c": 0, "a/b": 0o400, "a": 0o500}
        content = archive(("a/f", b""), headers=[("folder:" + name, f"0{mode:03o}")
                                                 for name, mode in modes.items()])
        self.run_tool("extract", "-C", "new", "-", data=content)
        for name, mode in sorted(modes.items()):
            place = self.folder / "new" / name
            self.assertEqual(stat.S_IMODE(place.stat().st_mode), mode)
            place.chmod(0o700)


class BadArchiveTest(ToolTest):
    def test_damage_leaves_no_file_under_the_name(self):
        self.write("f", b"some data, and some more data " * 50)
        self.run_tool("create", "--reserve", "0", "a.lsa", "f")
        whole = (self.folder / "a.lsa").read_bytes()
        start = whole.index(b"\0\1f") + 3  # behind the entry's name
        cuts = [whole[:at] for at in (*range(start, len(whole), 7), len(whole) - 1)]
        flips = [whole[:at] + bytes([whole[at] ^ 1]) + whole[at + 1:]
                 for at in (*range(len(whole) - 20, len(whole)), len(whole) - 28, 3)]
        for content in cuts + flips:
            (self.folder / "bad.lsa").write_bytes(content)
            for command in (("list",), ("verify",), ("info",), ("extract", "-C", "new")):
                self.run_tool(*command, "bad.lsa", code=BAD)
            self.assertFalse((self.folder / "new").exists() and self.names_left("new"))
        self.run_tool("cat", "bad.lsa", "f", code=BAD)
        _, messages = self.run_tool("verify", "--verbose", "bad.lsa", code=BAD)
        self.assertIn(b"Exception: ", messages)
        self.assertRegex(messages, rb"\n\tat Larkspan/Common/IO/\w+\.cpp\(\d+\)")

    def test_an_old_file_stays_when_the_new_one_is_bad(self):
        bad = archive(("f", b"new"))
        self.write("f", b"old")
        self.run_tool("extract", "--overwrite", "always", "-", data=bad[:-1] + b"?", code=BAD)
        self.assertEqual((self.folder / "f").read_bytes(), b"old")
        self.assertEqual(self.names_left(), ["f"])

    def test_an_end_inside_a_name_is_told(self):
        whole = archive(("f", b"data"))
        for tail in (b"\0", b"\0\5", b"\0\5name"):
            output, messages = self.run_tool("list", "-", data=whole + tail, code=INCOMPLETE)
            self.assertEqual(output, b"f\n")
            self.assertIn(b"ends inside the name", messages)

    def test_the_system_is_not_taken_for_a_bad_archive(self):
        self.write("good.lsa", archive(("f", b"data")))
        self.write("bad.lsa", b"nothing")
        for name in ("missing.lsa", ".", "/proc/self/mem"):
            for command in ("list", "verify", "info", "extract"):
                self.run_tool(command, name, code=SYSTEM)
        output, messages = self.run_tool("verify", "bad.lsa", "missing", "good.lsa", code=BAD)
        self.assertEqual(output, b"good.lsa: ok (1 entry, 4 bytes)\n")
        self.assertEqual(messages.count(b"\n"), 2)

    def test_no_command_reaches_the_terminal(self):
        names = "\x1b[2J", "a\nb", "\x7f", "\x9b1m", "\u202ecod.exe", "\udcff", "\ud800", "\\x1b"
        output, _ = self.run_tool("list", "-", data=archive(*((name, b"") for name in names)))
        self.assertEqual(output.decode().splitlines(), [
            r"\x1b[2J", r"a\x0ab", r"\x7f", r"\xc2\x9b1m", r"\xe2\x80\xaecod.exe", r"\xff",
            r"\ud800", r"\\x1b"])
        for arguments in (("list", "\x1b[31m"), ("list", "--\x1b[31m"), ("--bad\x9b",)):
            _, messages = self.run_tool(*arguments, code=SYSTEM if arguments[0] == "list" and
                                        arguments[1][0] != "-" else USAGE)
            self.assertNotIn(b"\x1b", messages)
            self.assertNotIn(b"\xc2\x9b", messages)


class HeadersTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.write("tree/f", b"data " * 1000)
        (self.folder / "tree/void").mkdir()
        self.run_tool("create", "-H", "a=1", "-H", "b=x=y", "a.lsa", "tree")
        self.place = self.folder / "a.lsa"

    def test_changes_in_place_touch_nothing_behind_the_reserve(self):
        before = self.place.read_bytes()
        for arguments, left in ((("set", "a.lsa", "a=2", "c="), "b=x=y a=2 c="),
                                (("clear", "a.lsa", "c"), "b=x=y a=2"),
                                (("clear", "a.lsa", "--all"), "")):
            _, messages = self.run_tool("--verbose", "headers", *arguments)
            self.assertIn(b"changed in place", messages)
            after = self.place.read_bytes()
            self.assertEqual((len(after), after[4096:]), (len(before), before[4096:]))
            expected = set(left.split()) | {"folder:tree/void=0755"}
            self.assertEqual(set(self.run_tool("headers", "get", "a.lsa")[0].decode().split()),
                             expected)

    def test_headers_that_do_not_fit_rewrite_the_archive(self):
        before = self.place.read_bytes()
        long = "l=" + "x" * 5000
        _, messages = self.run_tool("--verbose", "headers", "set", "a.lsa", long)
        self.assertIn(b"rewritten, with 8192 bytes", messages)
        self.assertEqual(self.place.read_bytes()[8192:], before[4096:])
        self.assertEqual(self.names_left(), ["a.lsa", "tree"])
        flipped = bytearray(self.place.read_bytes())
        flipped[-1] ^= 1
        self.place.write_bytes(flipped)
        self.run_tool("headers", "set", "a.lsa", "m=" + "x" * 9000, code=BAD)
        self.assertEqual(self.place.read_bytes(), flipped)
        self.assertEqual(self.names_left(), ["a.lsa", "tree"])

    def test_an_interrupted_rewrite_leaves_the_old_archive(self):
        with open(self.write("big"), "wb") as big:
            big.truncate(300 << 20)
        self.run_tool("create", "--force", "--reserve", "0", "a.lsa", "big")
        before = self.place.read_bytes()
        with subprocess.Popen([TOOL, "headers", "set", "a.lsa", "n=v"],
                              cwd=self.folder) as process:
            while "a.lsa.updated" not in self.names_left():
                time.sleep(0.005)
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(100), INTERRUPTED)
        self.assertEqual(self.names_left(), ["a.lsa", "big", "tree"])
        self.assertEqual(self.place.read_bytes(), before)

    def test_questions(self):
        value = b"no\xffutf8 \\ \xc3\xa9"
        self.run_tool("headers", "set", "a.lsa", b"raw=" + value)
        rows = (("b", DONE, b"x=y\n"), ("raw", DONE, value + b"\n"), ("none", INCOMPLETE, b""))
        for name, code, output in rows:
            self.assertEqual(self.run_tool("headers", "get", "a.lsa", name, code=code)[0], output)
        self.assertEqual(self.run_tool("headers", "get", "-", "a", data=self.place.read_bytes())[0],
                         b"1\n")
        self.run_tool("headers", "clear", "a.lsa", "none", "a", code=INCOMPLETE)
        self.assertNotIn(b"a=1", self.run_tool("headers", "get", "a.lsa")[0])


class TerminalTest(ToolTest):
    """Standard streams that are a terminal, or closed."""

    def run_at_terminal(self, *arguments, stream, code, pieces=()):
        ours, theirs = os.openpty()
        streams = {"stdin": subprocess.PIPE, "stdout": subprocess.DEVNULL,
                   "stderr": subprocess.DEVNULL, stream: theirs}
        with subprocess.Popen([TOOL, *arguments], cwd=self.folder, **streams) as process:
            os.close(theirs)
            for pause, piece in pieces:
                time.sleep(pause)
                process.stdin.write(piece)
                process.stdin.flush()
            if process.stdin:
                process.stdin.close()
            self.assertEqual(process.wait(100), code, arguments)
        seen = b""
        try:
            while piece := os.read(ours, 65536):
                seen += piece
        except OSError:  # what a terminal without its other end says
            pass
        os.close(ours)
        return seen

    def test_archives_keep_off_terminals(self):
        self.write("f")
        self.run_at_terminal("create", "-", "f", stream="stdout", code=USAGE)
        self.run_at_terminal("list", "-", stream="stdin", code=USAGE)
        self.write("a.lsa", archive(headers=(("h", "\x1b[2J"),)))
        for arguments in (("get", "a.lsa"), ("get", "a.lsa", "h")):
            seen = self.run_at_terminal("headers", *arguments, stream="stdout", code=DONE)
            self.assertIn(rb"\x1b[2J", seen)

    def test_progress_shows_after_a_second_and_goes_away(self):
        pieces = [(0, b"x" * 1000)] + [(0.3, b"y" * 1000)] * 8
        create = ("create", "--force", "a.lsa", "-")
        seen = self.run_at_terminal(*create, stream="stderr", code=DONE, pieces=pieces)
        self.assertIn(b"larkspan: 0 done, 0.0 MiB", seen)
        self.assertTrue(seen.endswith(b"\r\x1b[K"), seen)
        self.assertLessEqual(seen.count(b"done"), 8)
        for arguments, hasty in (((*create, "--no-progress"), pieces), (create, pieces[:1])):
            seen = self.run_at_terminal(*arguments, stream="stderr", code=DONE, pieces=hasty)
            self.assertEqual(seen, b"")

    def test_closed_streams_are_failures_and_never_files(self):
        self.write("f", b"data")
        self.run_tool("create", "a.lsa", "f")
        for line, code in (("list a.lsa >&-", SYSTEM), ("list - <&-", SYSTEM),
                           ("create --force b.lsa - <&-", SYSTEM),
                           ("create c.lsa f missing 2>&-", SYSTEM), ("verify a.lsa 2>&-", DONE)):
            ended = subprocess.run(["sh", "-c", f'"$0" {line}', TOOL], cwd=self.folder,
                                   capture_output=True, check=False)
            self.assertEqual(ended.returncode, code, line)
        self.assertEqual(self.names_left(), ["a.lsa", "f"])


class CommandLineTest(ToolTest):
    def test_wrong_usage(self):
        self.write("f")
        for line in ("", "bogus", "create", "create a.lsa", "list", "list a b", "cat a", "headers",
                     "headers get", "headers set a", "headers set - a=b", "headers set f novalue",
                     "headers clear f", "headers clear f a --all", "create --reserve 255 a f",
                     "create --reserve x a f", "create --reserve -1 a f",
                     "create --method best a f",
                     "extract --overwrite maybe f", "list --bogus f", "create a -H"):
            output, messages = self.run_tool(*line.split(), code=USAGE)
            self.assertEqual((output, messages[:10], messages.count(b"\n")),
                             (b"", b"larkspan: ", 1), line)
        self.run_tool("list", "", code=USAGE)
        self.assertEqual(self.names_left(), ["f"])

    def test_names_of_commands_and_options_can_be_files(self):
        for name in ("list", "create", "--force", "[a,b]"):
            self.write(name)
        stream, _ = self.run_tool("create", "-", "list", "create", "[a,b]", "--", "--force")
        self.assertEqual(self.run_tool("list", "-", data=stream)[0],
                         b"list\ncreate\n[a,b]\n--force\n")

    def test_every_command_has_help_with_examples(self):
        for command in ("create", "list", "extract", "verify", "cat", "headers", "headers set",
                        "info"):
            self.assertIn(b"Examples:\n", self.run_tool(*command.split(), "--help")[0])
        self.assertRegex(self.run_tool("--version")[0], rb"^larkspan \d+\.\d+\.\d+\n$")

    def test_a_closed_pipe_is_no_failure(self):
        self.write("a.lsa", archive(*((f"{number:0200}", b"") for number in range(3000))))
        reading, writing = os.pipe()
        os.close(reading)
        try:
            for arguments in (("list", "a.lsa"), ("cat", "a.lsa", "0" * 200), ("create", "-", ".")):
                self.assertEqual(self.run_tool(*arguments, stdout=writing)[1], b"")
        finally:
            os.close(writing)

    def test_long_listing(self):
        self.write("a.lsa", archive(("f", b"data", (("mode", "0640"), ("mtime", "-1.5"))),
                                    ("g", b""), headers=(("folder:void", "0700"),)))
        rows = [line.split() for line in self.run_tool("list", "-l", "a.lsa")[0].splitlines()]
        self.assertEqual(rows, [b"0700 - - folder - - void/".split(), [
            b"0640", b"4", b"4", b"stored", b"adf3f363", b"1969-12-31", b"23:59:58", b"f"],
            b"- 0 0 stored 00000000 - g".split()])


if __name__ == "__main__":
    unittest.main()

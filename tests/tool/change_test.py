"""Archives whose entries change: what is added, removed and merged, and what stays as it was."""

import os
import subprocess
import sys
import unittest

from archive_builder import STORED, entry, header
from tool_test import BAD, DONE, INCOMPLETE, READER, SYSTEM, USAGE, ToolTest, snapshot

OLD, NEW = 1_500_000_000_000_000_001, 1_700_000_000_000_000_002
LINK = {"headers": (("type", "hardlink"),), "method": STORED}


class ChangeTest(ToolTest):
    def setUp(self):
        super().setUp()
        for name in ("a", "sub/b", "sub/c", "z"):
            self.write("tree/" + name, name.encode() * 1000, time_ns=OLD)
        (self.folder / "tree/void").mkdir()
        self.run_tool("create", "a.lsa", "tree")

    def names(self, archive="a.lsa"):
        self.run_tool("verify", archive)
        return self.run_tool("list", archive)[0].decode().split()

    def content(self, name, archive="a.lsa"):
        return self.run_tool("cat", archive, name)[0]

    def unchanged(self, *arguments, code=DONE, archive="a.lsa"):
        place = self.folder / archive
        before = place.read_bytes(), sorted(os.listdir(self.folder))
        told = self.run_tool(*arguments, code=code)
        self.assertEqual((place.read_bytes(), sorted(os.listdir(self.folder))), before)
        return told[0].decode().split("\n")[:-1]

    def test_added_files_take_the_place_of_old_ones_as_asked(self):
        for replace, times, expected in (("always", (OLD - 1, OLD), b"2"), ("newer", (NEW,), b"2"),
                                         ("newer", (OLD - 1, OLD), b"a" * 1000),
                                         ("never", (NEW,), b"a" * 1000)):
            for time_ns in times:
                self.write("tree/a", b"2", time_ns=time_ns)
                self.run_tool("create", "--force", "new.lsa", "tree")
                command = "add", "--replace", replace, "a.lsa", "tree/a"
                row = ["replace tree/a"] if expected == b"2" else []
                self.assertEqual(self.unchanged(*command[:1], "-n", *command[1:]), row)
                node = (self.folder / "a.lsa").stat().st_ino
                self.run_tool(*command)
                self.assertEqual(self.content("tree/a"), expected)
                self.assertEqual(node == (self.folder / "a.lsa").stat().st_ino, not row)
                self.assertEqual(len(self.names()), 5)
                self.write("tree/a", b"a" * 1000, time_ns=OLD)
                self.run_tool("create", "--force", "a.lsa", "tree")
        # From a folder, a stream, a folder without files; the archive itself is left out.
        (self.folder / "tree/hollow").mkdir(mode=0o700)
        self.run_tool("add", "-C", "tree", "--method", "stored", "-j", "1", "a.lsa", "z", "hollow")
        self.run_tool("add", "--stdin-name", "in", "a.lsa", "-", "a.lsa", data=b"piped")
        self.assertEqual(self.names(), ["tree/void/", "hollow/", "tree/a", "tree/sub/b",
                                        "tree/sub/c", "tree/z", "z", "in"])
        self.assertEqual(self.content("in"), b"piped")

    def test_removed_entries_leave_everything_else(self):
        before = snapshot(self.folder / "tree")
        self.assertEqual(self.unchanged("remove", "-n", "a.lsa", "tree/void", "tree/sub/"),
                         ["remove tree/void/", "remove tree/sub/b", "remove tree/sub/c"])
        self.unchanged("remove", "a.lsa", "tree/nothing", code=INCOMPLETE)
        self.assertEqual(self.unchanged("remove", "-n", "a.lsa", "tree/*/b", "--exclude", "c"),
                         ["remove tree/sub/b"])
        told = self.run_tool("remove", "-j", "1", "a.lsa", "tree/void", "gone", "tree/sub/",
                             code=INCOMPLETE)[1]
        self.assertIn(b"no entry named gone", told)
        self.assertEqual(self.names(), ["tree/a", "tree/z"])
        self.run_tool("extract", "-C", "out", "a.lsa")
        self.assertEqual(snapshot(self.folder / "out/tree"), {n: before[n] for n in ("a", "z")})
        self.run_tool("remove", "a.lsa", "tree")
        self.assertEqual(self.names(), [])

    def test_differences_are_told_by_file_and_by_stream(self):
        def diff(*arguments, archive="a.lsa", code=INCOMPLETE, **options):
            return self.run_tool("diff", *arguments, archive, code=code, **options)[0].decode()
        self.assertEqual(diff(code=DONE), "")
        self.write("tree/a", b"A" * 1000, mode=0o600, time_ns=OLD)
        self.write("tree/z", b"z", time_ns=NEW)
        self.write("tree/sub/new/deep")
        (self.folder / "tree/sub/b").unlink()
        (self.folder / "tree/sub/c").unlink()
        (self.folder / "tree/sub/c").symlink_to("b")
        (self.folder / "tree/void").chmod(0o700)
        expected = ("changed content,mode tree/a\nchanged time tree/sub/\nremoved tree/sub/b\n"
                    "changed type tree/sub/c\nadded tree/sub/new/\nchanged mode tree/void/\n"
                    "changed content,time tree/z\n")
        self.assertEqual(diff(), expected)
        data = (self.folder / "a.lsa").read_bytes()
        self.assertEqual(diff("-j", "1", archive="-", data=data), expected)
        self.write("other")
        self.assertEqual(diff("-a"), "added other\n" + expected)
        self.assertEqual(diff("-C", "tree").count("removed"), 7)
        self.write("l.lsa", header() + entry("tree/z", b"z") + entry("tree/a", b"tree/z", **LINK))
        self.assertEqual(diff(archive="l.lsa").split("\n")[0], "changed target tree/a")
        (self.folder / "tree/a").unlink()
        os.link(self.folder / "tree/z", self.folder / "tree/a")
        self.assertNotIn("tree/a", diff(archive="l.lsa"))
        self.run_tool("create", "--owner", "--force", "l.lsa", "tree")
        self.assertEqual(diff("--owner", archive="l.lsa", code=DONE), "")
        (self.folder / "tree/sub/c").unlink()
        (self.folder / "tree/sub/c").symlink_to("a")
        self.assertIn("target tree/sub/c", diff(archive="l.lsa"))
        self.write("l.lsa", header() + entry(
            "tree/z", b"z", headers=(("owner", "77777"), ("group", "7"))))
        self.assertNotIn("tree/z", diff(archive="l.lsa"))
        self.assertIn("changed owner tree/z\n", diff("--owner", archive="l.lsa"))
        self.write("l.lsa", header() + entry("tree/z", b"z", crc=1))
        diff(archive="l.lsa", code=BAD)

    def test_merged_archives_hold_all_and_the_last_of_each_name(self):
        self.write("other/a", b"other")
        self.write("other/new", b"new")
        self.run_tool("create", "-C", "other", "-H", "h=1", "-H", "k=1", "b.lsa", ".")
        self.run_tool("create", "-C", "tree", "-H", "h=2", "-H", "i=2", "c.lsa", "a", "z", "void")
        self.assertEqual(self.unchanged("merge", "-n", "out.lsa", "b.lsa", "c.lsa"),
                         ["drop a", "add new", "add a", "add z"])
        self.run_tool("merge", "-j", "2", "out.lsa", "b.lsa", "c.lsa")
        self.assertEqual(self.names("out.lsa"), ["void/", "new", "a", "z"])
        self.assertEqual(self.content("a", "out.lsa"), b"a" * 1000)
        headers = self.run_tool("headers", "get", "out.lsa")[0].split()
        self.assertLess({b"h=1", b"k=1", b"i=2", b"folder:void=0755"}, set(headers))
        self.unchanged("merge", "a.lsa", "b.lsa", code=SYSTEM)
        self.run_tool("merge", "--force", "b.lsa", "b.lsa", "a.lsa")
        self.assertEqual(len(self.names("b.lsa")), 7)
        read = subprocess.run([sys.executable, READER, "list", "b.lsa"], cwd=self.folder,
                              check=True, capture_output=True).stdout
        self.assertIn(b"tree/sub/b", read)

    def test_what_can_not_be_done_changes_nothing(self):
        whole = (self.folder / "a.lsa").read_bytes()
        self.write("tree2/x", b"")
        self.write("cut.lsa", whole[:-42])
        self.write("damaged.lsa", whole.replace(b"\x78\x9c", b"\x78\x9d", 1))
        self.write("f/tree", b"")
        self.write("d/tree/a/x", b"")
        self.run_tool("create", "-C", "f", "f.lsa", "tree")
        rows = (("a.lsa", USAGE, "add", "-C", "f", "a.lsa", "tree"),
                ("a.lsa", USAGE, "add", "-C", "d", "a.lsa", "tree"),
                ("a.lsa", USAGE, "merge", "--force", "a.lsa", "a.lsa", "f.lsa"),
                ("a.lsa", SYSTEM, "add", "a.lsa", "missing"),
                ("a.lsa", SYSTEM, "add", "missing.lsa", "tree"),
                ("a.lsa", USAGE, "remove", "-", "a"),
                ("a.lsa", BAD, "merge", "out.lsa", "a.lsa", "cut.lsa"),
                ("a.lsa", BAD, "merge", "out.lsa", "a.lsa", "damaged.lsa"),
                ("cut.lsa", BAD, "add", "cut.lsa", "tree2"),
                ("cut.lsa", BAD, "remove", "cut.lsa", "tree/z"),
                ("damaged.lsa", BAD, "remove", "damaged.lsa", "tree/z"))
        for archive, code, *command in rows:
            with self.subTest(command):
                self.unchanged(*command, code=code, archive=archive)
        # What is damaged itself can go.
        self.run_tool("remove", "damaged.lsa", "tree/a")
        self.assertEqual(len(self.names("damaged.lsa")), 4)


if __name__ == "__main__":
    unittest.main()

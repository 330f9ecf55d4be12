"""Links, folders, owners and holes: what `create` keeps of them, and what `extract` makes."""

import os
import subprocess
import sys
import unittest

from archive_builder import STORED, entry, header
from tool_test import BAD, DONE, INCOMPLETE, READER, SYSTEM, ToolTest


def facts_of(folder):
    """All that a tree is made of, by name; names of one file share a number."""
    found, files = {}, {}
    for parent, folders, names in os.walk(folder):
        for name in folders + names:
            place = os.path.join(parent, name)
            state = os.lstat(place)
            target = os.readlink(place) if os.path.islink(place) else None
            mode = None if target else state.st_mode
            number = files.setdefault(state.st_ino, os.path.relpath(place, folder))
            found[os.path.relpath(place, folder)] = (
                mode, state.st_mtime_ns, state.st_uid, state.st_gid, target,
                None if os.path.isdir(place) else number)
    return found


class LinksTest(ToolTest):
    def make_tree(self):
        self.write("t/a/b/file", b"content", mode=0o640)
        os.link(self.folder / "t/a/b/file", self.folder / "t/a/second")
        os.link(self.folder / "t/a/b/file", self.folder / "t/third")
        for name, target in (("t/to-file", "a/b/file"), ("t/to-folder", "a"), ("t/a/up", "../third"),
                             ("t/loop", "loop"), ("t/nowhere", "gone \udcff")):
            os.symlink(target, self.folder / name)
            os.utime(self.folder / name, ns=(1, 7_000_000_001), follow_symlinks=False)
        (self.folder / "t/hollow/empty").mkdir(parents=True)
        with open(self.folder / "t/holes", "wb") as file:
            file.truncate(1 << 20)
            file.seek(300_000)
            file.write(b"island")
        if os.geteuid() == 0:
            os.chown(self.folder / "t/third", 1, 2)
            os.chown(self.folder / "t/a", 3, 4)
        for number, name in enumerate(("t/hollow/empty", "t/hollow", "t/a/b", "t/a", "t")):
            os.chmod(self.folder / name, 0o711 + number)
            os.utime(self.folder / name, ns=(1, 1_000_000_000 * number + 5))
        return facts_of(self.folder / "t")

    def test_all_of_a_tree_comes_back(self):
        before = self.make_tree()
        self.run_tool("create", "--owner", "t.lsa", "t")
        self.run_tool("extract", "-C", "by-file", "t.lsa")
        shown = subprocess.check_output([sys.executable, READER, "list", "t.lsa"], cwd=self.folder)
        self.assertIn(b'"t/to-folder" -> a\n', shown)
        self.assertIn(b'"t/nowhere" -> gone \\xff\n', shown)
        stream, _ = self.run_tool("create", "--owner", "-", "t")
        self.assertEqual(stream, (self.folder / "t.lsa").read_bytes())
        self.run_tool("extract", "--sync", "-j", "1", "-C", "by-stream", "-", data=stream)
        # Added to an archive of their folder as it was when it was empty.
        (self.folder / "old/t").mkdir(parents=True)
        self.run_tool("create", "-C", "old", "added.lsa", "t")
        self.run_tool("add", "--owner", "added.lsa", "t")
        self.run_tool("extract", "-C", "by-addition", "added.lsa")
        for copy in ("by-file/t", "by-stream/t", "by-addition/t"):
            self.assertEqual(facts_of(self.folder / copy), before)
            self.assertEqual(os.stat(self.folder / copy / "holes").st_blocks,
                             os.stat(self.folder / "t/holes").st_blocks)
            self.assertEqual((self.folder / copy / "holes").read_bytes(),
                             (self.folder / "t/holes").read_bytes())
        self.run_tool("extract", "--no-same-owner", "-C", "own", "t.lsa")
        self.assertEqual(os.stat(self.folder / "own/t/third").st_uid, os.geteuid())
        self.run_tool("extract", "--same-owner", "-C", "again", "t.lsa")

    def test_options_of_create(self):
        self.make_tree()
        self.write("t/cache/CACHEDIR.TAG", b"Signature: 8a477f597d28d172789f06886806bc55\n")
        self.write("t/cache/junk")
        self.run_tool("create", "--hard-dereference", "--exclude-caches", "--one-file-system",
                      "a.lsa", "t")
        self.run_tool("extract", "-C", "copies", "a.lsa")
        self.assertEqual(os.stat(self.folder / "copies/t/third").st_nlink, 1)
        self.assertEqual(os.listdir(self.folder / "copies/t/cache"), ["CACHEDIR.TAG"])
        _, messages = self.run_tool("create", "-L", "followed.lsa", "t", code=INCOMPLETE)
        self.assertEqual(messages.count(b"left out: a link"), 3)
        self.run_tool("extract", "-C", "followed", "followed.lsa")
        self.assertFalse(os.path.islink(self.folder / "followed/t/to-file"))

    def test_links_that_may_lead_out(self):
        for target, safe in (("/etc", False), ("../x", False), ("../../x", False), ("d/../x", False),
                             ("./x", True), ("..", True), ("../t2/x", True)):
            name = "t/f" if safe else "f"
            link = header() + entry(name, target.encode(), STORED, headers=[("type", "link")])
            where = "into" + target.replace("/", "_")
            self.run_tool("extract", "-C", where, "-", data=link, code=DONE if safe else INCOMPLETE)
            self.assertEqual(os.path.lexists(self.folder / where / name), safe, target)
            self.run_tool("extract", "-C", where, "--overwrite", "always", "--unsafe-links", "-",
                          data=link)
            self.assertEqual(os.readlink(self.folder / where / name), target)
        # The folder of a link that is left out comes back all the same.
        alone = entry("d/f", b"/etc", STORED, headers=[("folder:d", "0750 5"), ("type", "link")])
        _, messages = self.run_tool("extract", "-C", "out", "-", data=header() + alone,
                                    code=INCOMPLETE)
        self.assertEqual(messages.count(b"\n"), 1, messages)
        self.assertEqual(os.stat(self.folder / "out/d").st_mtime, 5)

    def test_nothing_is_written_by_way_of_a_link(self):
        (self.folder / "outside").mkdir()
        archive = (header() + entry("d", b"../outside", STORED, headers=[("type", "link")])
                   + entry("d/f", b"data"))
        self.run_tool("extract", "--unsafe-links", "-C", "out", "-", data=archive, code=SYSTEM)
        self.assertEqual(os.listdir(self.folder / "outside"), [])
        self.assertEqual((self.folder / "out/d/f").read_bytes(), b"data")

    def test_a_hard_link_alone_is_a_copy(self):
        self.make_tree()
        self.run_tool("create", "t.lsa", "t")
        self.run_tool("extract", "-C", "one", "t.lsa", "t/third")
        self.assertEqual((self.folder / "one/t/third").read_bytes(), b"content")
        self.run_tool("extract", "-C", "piped", "-", "t/third", code=INCOMPLETE,
                      data=(self.folder / "t.lsa").read_bytes())
        # Never to a file that was there before.
        self.write("old/t/a/b/file", b"other")
        self.run_tool("extract", "-C", "old", "--overwrite", "skip", "t.lsa")
        self.assertEqual((self.folder / "old/t/third").read_bytes(), b"content")

    def test_a_link_of_a_file_to_itself_keeps_the_file(self):
        archive = header() + entry("f", b"data") + entry("f", b"f", STORED,
                                                         headers=[("type", "hardlink")])
        self.run_tool("extract", "-C", "out", "-", data=archive)
        self.assertEqual((self.folder / "out/f").read_bytes(), b"data")

    def test_first_parts_of_names_are_taken_off(self):
        before = self.make_tree()
        self.run_tool("create", "--owner", "t.lsa", "t")
        self.run_tool("extract", "--strip-components", "1", "-C", "one", "t.lsa")
        after = facts_of(self.folder / "one")
        self.assertEqual(after, {name: before[name] for name in after})
        self.assertEqual(after.keys(), before.keys())
        self.run_tool("extract", "--strip-components", "2", "-C", "two", "t.lsa", code=INCOMPLETE)
        self.assertEqual(sorted(os.listdir(self.folder / "two")), ["b", "empty", "second"])
        self.assertEqual(os.stat(self.folder / "two/second").st_nlink, 2)
        # The file that a link names has no name left, and a name that is refused stays refused.
        self.write("first.lsa", header() + entry("f", b"data") + entry(
            "d/g", b"f", STORED, headers=[("type", "hardlink")]))
        self.run_tool("extract", "--strip-components", "1", "-C", "three", "first.lsa")
        self.assertEqual((self.folder / "three/g").read_bytes(), b"data")
        self.run_tool("extract", "--strip-components", "2", "-C", "four", "-", code=BAD,
                      data=header() + entry("../x/y", b"data"))


if __name__ == "__main__":
    unittest.main()

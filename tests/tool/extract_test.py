"""What `extract` brings back, what it refuses, and what it says of it."""

import os
import unittest

from archive_builder import DEFLATED, entry, header
from tool_test import BAD, DONE, SYSTEM, USAGE, ToolTest, snapshot


class ExtractTest(ToolTest):
    def test_overwriting(self):
        self.write("a.lsa", header(("folder:d", "0711")) + entry("g") + entry("g", b"2")
                   + entry("f", b"new") + entry("./f", b"newer"))
        old = {"f": b"old", "d": 0o750}
        # A file in the way is found first where the archive can be read twice.
        rows = (("fail", "a.lsa", SYSTEM, old),
                ("fail", "-", SYSTEM, {**old, "g": b"2"}),
                ("skip", "a.lsa", DONE, {**old, "g": b"2"}),
                ("always", "a.lsa", DONE, {"f": b"newer", "d": 0o711, "g": b"2"}))
        for number, (how, archive, code, left) in enumerate(rows):
            target = str(number)
            (self.write(target + "/f", b"old").parent / "d").mkdir(mode=0o750)
            # The second one's files can't be: below a file, and in the place of a folder.
            in_the_way = header() + entry("d" if how == "always" else "f/g")
            for name, data, end in ((archive, (self.folder / "a.lsa").read_bytes(), code),
                                    ("-", in_the_way, SYSTEM)):
                self.run_tool("extract", "-C", target, "--overwrite", how, name, data=data,
                              code=end)
                found = {name: facts[-1] for name, facts in snapshot(self.folder / target).items()}
                self.assertEqual(found, left, (how, archive))

    def test_selection(self):
        archive = header(("folder:a/void", "0750")) + b"".join(
            entry(name) for name in ("a/b", "a/bc", "ab", "d\\e", "x\udcff"))
        in_a = {"a/b", "a/bc", "a/void"}
        for number, (name, expected) in enumerate((("a", in_a), ("./a/", in_a), ("a/b", {"a/b"}),
                                                   ("x\udcff", {"x\udcff"}), ("d\\e", {"d/e"}))):
            self.run_tool("extract", "-C", str(number), "-", name, data=archive)
            self.assertEqual(set(snapshot(self.folder / str(number))), expected)
        self.write("a.lsa", archive + entry("q[1]") + entry("q1"))
        self.write("names", b"a/b\0x\xff\0")
        self.write("patterns", b"# of folders\na/\n!/ab\n")
        for number, (arguments, expected) in enumerate((
                (("a/b*",), {"a/b", "a/bc"}), (("*b",), {"ab"}), (("**/b", "a?"), {"a/b", "ab"}),
                (("[a]",), in_a), (("q[1]",), {"q[1]"}), (("q[1-2]",), {"q1"}),
                (("-T", "names", "-0"), {"a/b", "x\udcff"}), (("--exclude", "b*", "a"), {"a/void"}),
                (("--exclude-from", "patterns", "--exclude", "q*", "--exclude", "?\udcff"),
                 {"ab", "d/e"}))):
            target = "out" + str(number)
            self.run_tool("extract", "-C", target, "a.lsa", *arguments)
            self.assertEqual(set(snapshot(self.folder / target)), expected, arguments)
            listed = self.run_tool("list", "-0", "a.lsa", *arguments)[0].decode(
                errors="surrogateescape").replace("\\", "/").split("\0")[:-1]
            self.assertEqual({name.rstrip("/") for name in listed}, expected, arguments)
        self.assertEqual(self.run_tool("cat", "a.lsa", "q*")[0], b"abcabc")
        self.run_tool("extract", "-T", "-", "-", code=USAGE)

    def test_damage_leaves_no_file(self):
        self.write("f", b"old data, and some more data " * 5)
        whole, _ = self.run_tool("create", "--reserve", "0", "-", "f")
        before = snapshot(self.folder)
        cuts = [whole[:at] for at in range(len(whole) - 1, whole.index(b"\0\1f") + 2, -9)]
        flips = [whole[:at] + bytes([whole[at] ^ 1]) + whole[at + 1:]
                 for at in (3, *range(len(whole) - 28, len(whole), 3))]
        for data in cuts + flips:
            for command in (("verify",), ("extract", "--overwrite", "always"), ("info",)):
                self.run_tool(*command, "-", data=data, code=BAD)
            self.assertEqual(snapshot(self.folder), before)

    def test_what_goes_on_after_damage_and_what_stops(self):
        start = header() + entry("a")
        bad = (entry("b", b"x" * 9, crc=1) + entry("c", b"abc" * 9, DEFLATED, carried=b"junk")
               + entry("../up"))
        behind = entry("d", b"y" * 50)
        told = [b"entry b: ", b"entry c: ", b"the name ../up is refused: "]
        rows = (
            ("", start + bad + behind, ["a"], told[:1]),
            ("--keep-going", start + bad + behind, ["a", "d"], told),
            ("--keep-going", header(("folder:../up", ""), ("folder:e", "")) + behind, ["d", "e"],
             told[2:]),
            ("--keep-going", start + bad + entry("e", chunk=2)[:-30] + behind, ["a"],
             [*told, b"entry e: ", b"no entry after e can be read: "]),
            ("--keep-going", start + bad + entry("e", method=9) + behind, ["a"],
             [*told, b"no entry after ../up can be read: "]),
            ("--max-size=52", start + behind, ["a"],
             [b"entry d: the files are larger than the 52 bytes"]),
            ("--max-size=2 --keep-going", start + behind, [], [b"entry a: the files are larger"]),
        )
        for number, (options, data, names, messages) in enumerate(rows):
            self.write("a.lsa", data)
            for archive in ("a.lsa", "-"):
                target = f"{number}{archive}"
                found = self.run_tool("extract", *options.split(), "-C", target, archive,
                                      data=data, code=BAD)[1].splitlines()
                self.assertEqual(sorted(os.listdir(self.folder / target)), names, options)
                for line, message in zip(found, messages, strict=True):
                    self.assertIn(message, line)
        self.run_tool("extract", "-C", "all", "--max-size=53", "-", data=start + behind)


if __name__ == "__main__":
    unittest.main()

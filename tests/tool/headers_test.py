"""Changes of headers: what they keep, what they refuse, and several of them at once."""

import os
import subprocess
import unittest

from archive_builder import entry, header, promising_header, seal
from tool_test import BAD, DONE, INCOMPLETE, TOOL, USAGE, ToolTest

ENTRIES = {"name": "a"}, {"name": "b"}
PLAIN = b"".join(entry(**fields) for fields in ENTRIES)
LONG = "long=" + "x" * 999


class HeadersTest(ToolTest):
    def test_no_change_at_the_same_time_is_lost(self):
        for reserved in (0, 256, 65536):
            self.write("a.lsa", header(reserved=reserved) + PLAIN)
            running = [subprocess.Popen([TOOL, "headers", "set", "a.lsa", f"h{number}=" + "x" * 99],
                                        cwd=self.folder) for number in range(12)]
            self.assertEqual([process.wait(100) for process in running], [DONE] * 12)
            found = self.run_tool("headers", "get", "a.lsa")[0].split()
            self.assertEqual(sorted(line.split(b"=")[0] for line in found),
                             sorted(b"h%d" % number for number in range(12)))
            self.run_tool("verify", "a.lsa")
            self.assertEqual(os.listdir(self.folder), ["a.lsa"])

    def test_archive_that_could_lose_something_is_not_rewritten(self):
        sealed = promising_header(reserved=256) + PLAIN + seal(*ENTRIES)
        hidden = bytearray(header() + PLAIN)
        hidden[31] |= 0x80  # the length of the first name
        rows = {"a name is too long": bytes(hidden),
                "something is appended": header() + PLAIN + b"\0\7more",
                "the seal is missing": sealed[:-42],
                "the seal is wrong": sealed[:-20] + b"!" + sealed[-19:],
                "the room is beyond the file": header(reserved=256)[:40],
                "the room is a gigabyte": header()[:23] + b"\x40" + header()[24:]}
        for name, damaged in rows.items():
            with self.subTest(name):
                place = self.write("a.lsa", damaged)
                self.run_tool("headers", "set", "a.lsa", LONG, code=BAD)
                self.assertEqual(place.read_bytes(), damaged)
                self.assertEqual(os.listdir(self.folder), ["a.lsa"])

    def test_seal_belongs_to_the_archive(self):
        self.write("a.lsa", promising_header(("h", "v"), reserved=256) + PLAIN + seal(*ENTRIES))
        self.run_tool("headers", "set", "a.lsa", "seal=1 00000000", code=USAGE)
        self.run_tool("headers", "clear", "a.lsa", "seal", code=USAGE)
        for change in (("set", "a.lsa", "k=v"), ("set", "a.lsa", LONG), ("clear", "a.lsa", "--all")):
            self.run_tool("headers", *change)
            self.assertIn(b"seal", self.run_tool("headers", "get", "a.lsa")[0])
            self.run_tool("verify", "a.lsa")
        # A header that somebody else wrote is told once, and counts from then on.
        foreign = promising_header(("h", "v"), reserved=256).replace(b"\0\1v", b"\0\1w")
        self.write("a.lsa", foreign + PLAIN + seal(*ENTRIES))
        self.run_tool("verify", "a.lsa", code=BAD)
        self.run_tool("headers", "set", "a.lsa", "k=v", code=INCOMPLETE)
        self.run_tool("verify", "a.lsa")


if __name__ == "__main__":
    unittest.main()

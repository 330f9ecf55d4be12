"""What `extract` brings back, what it refuses, and what it says of it."""

import os
import unittest

from archive_builder import entry, header, promising_header, seal
from tool_test import BAD, DONE, INCOMPLETE, SYSTEM, ToolTest


class MessagesTest(ToolTest):
    def test_each_end_of_an_archive_is_told_and_every_entry_comes_out(self):
        first, second = {"name": "a"}, {"name": "b", "data": b"x" * 100}
        body = entry(**first) + entry(**second)
        rows = (
            (promising_header(reserved=256) + body + seal(first, second), DONE, b""),
            (promising_header() + body, BAD, b"the seal that its header promises is missing"),
            (promising_header() + body + seal(second, first), BAD, b"its seal does not fit"),
            (header() + body + seal(first, second), BAD, b"does not promise the seal"),
            (header(("seal", "1 00000001")) + body + seal(first, second), BAD, b"header is torn"),
            (header() + body + b"\0\5name", INCOMPLETE, b"ends inside the name"),
            (header(reserved=256)[:99], INCOMPLETE, b"ends inside its header"),
        )
        for number, (data, code, message) in enumerate(rows):
            target = str(number)
            told = self.run_tool("extract", "-C", target, "-", data=data, code=code)[1]
            self.assertIn(message, told)
            self.assertEqual(told.count(b"\n"), 0 if code == DONE else 1)
            self.assertEqual(sorted(os.listdir(self.folder / target)),
                             ["a", "b"] if body in data else [])

    def test_failures_name_the_path_and_what_the_system_says(self):
        long = "x" * 250
        (self.folder / "loop").symlink_to("loop")
        self.write(long, header() + entry())
        for arguments, message in (
                (("list", long * 2), b"xx: can't be opened: File name too long"),
                (("verify", "loop"), b"loop: can't be opened: Too many levels of symbolic links"),
                (("headers", "set", long, "n=v"), b"File name too long")):
            self.assertIn(message, self.run_tool(*arguments, code=SYSTEM)[1])
        (self.folder / "gone").mkdir()
        self.run_tool("list", "a", code=SYSTEM, preexec_fn=lambda: self.enter_and_remove("gone"))

    def enter_and_remove(self, name):
        os.chdir(self.folder / name)
        os.rmdir(self.folder / name)


if __name__ == "__main__":
    unittest.main()

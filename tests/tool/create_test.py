"""What `create` packs and what it tells, and what the reading commands say of an archive."""

import subprocess
import sys
import unittest

from archive_builder import DEFLATED, entry, header, promising_header, seal
from tool_test import BAD, DONE, INCOMPLETE, READER, USAGE, ToolTest


class CreateTest(ToolTest):
    def test_every_archive_is_sealed(self):
        self.write("f", b"data")
        # One byte more than the promise of the seal takes must be free.
        for arguments, reserve in ((("--reserve", "0"), 0), ((), 4096),
                                   (("--reserve", "256", "-H", "x=" + "y" * 201), 256),
                                   (("--reserve", "256", "-H", "x=" + "y" * 202), 512)):
            self.run_tool("create", "--force", *arguments, "a.lsa", "f")
            bytes_of_file = (self.folder / "a.lsa").read_bytes()
            self.assertEqual(self.run_tool("create", *arguments, "-", "f")[0], bytes_of_file)
            self.assertEqual(int.from_bytes(bytes_of_file[23:27], "big"), reserve)
            told = subprocess.check_output([sys.executable, READER, "verify", "a.lsa"],
                                           cwd=self.folder)
            self.assertEqual(told, b"Verified 1 entry, sealed.\n")
        self.run_tool("create", "-H", "seal=1 00000000", "b.lsa", "f", code=USAGE)


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
        for data, code, said, messages in rows:
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


if __name__ == "__main__":
    unittest.main()

"""The example reader against archives that are put together byte by byte, or in the document."""

import contextlib
import hashlib
import io
import json
import pathlib
import re
import shutil
import subprocess
import sys
import unittest
import zlib
from unittest import mock

from archive_builder import (DEFLATED, STORED, entry, header, promising_header, seal, u32)

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = (ROOT / "docs" / "archive-format.md").read_text(encoding="utf-8")
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "examples"))
import read_archive

EMPTY_ZLIB = bytes.fromhex("78 9C 03 00 00 00 00 01")
# Long enough for many pieces, and of few repetitions, so that deflating leaves several frames.
LONG = b"".join(hashlib.sha256(u32(number)).digest() for number in range(6000))


def run(archive, *command):
    """The exit code of the reader's `main`, its output, and its last message."""
    output, errors = io.TextIOWrapper(io.BytesIO(), encoding="ascii"), io.StringIO()
    with mock.patch("sys.stdin", io.TextIOWrapper(io.BytesIO(archive))), \
            contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
        status = read_archive.main([command[0], "-", *command[1:]])
    output.flush()
    return status, output.buffer.getvalue(), errors.getvalue().rpartition("input: ")[2].strip()


def dump(archive):
    status, output, message = run(archive, "dump")
    return status, [json.loads(line) for line in output.splitlines()], message


class Good(unittest.TestCase):
    def test_entries_come_back_as_they_were_put_in(self):
        rows = [
            (header(major=2), b"abc", STORED, 1),
            (header(minor=7), b"", STORED, 9),  # a version is refused by both numbers
            (header(), LONG, STORED, len(LONG)),
            (header(), b"abc" * 1000, DEFLATED, 1),
            (header(), LONG, DEFLATED, 1000),
            (header(), bytes(5000000), DEFLATED, 262144),
            (header(("n", "v"), reserved=37), b"abc", STORED, 9),  # fills its room
        ]
        for head, data, method, chunk in rows:
            with self.subTest(head=head, size=len(data), method=method):
                archive = head + entry("x", data, method, [("k", ""), ("k", "2"), ("e", "")], chunk)
                self.assertEqual(run(archive, "cat", "x"), (0, data, ""))
                status, (_, found), message = dump(archive)
                self.assertEqual((status, message), (0, ""))
                carried = len(zlib.compress(data)) if method == DEFLATED else len(data)
                self.assertEqual(found, {
                    "name": "x", "method": "deflated" if method == DEFLATED else "stored",
                    "headers": {"k": "2", "e": ""}, "archivedSize": carried, "size": len(data),
                    "crc": zlib.crc32(data), "sha256": hashlib.sha256(data).hexdigest()})

    def test_the_document_shows_true_archives(self):
        blocks = re.findall(r"^```hex\n(.*?)^```$", DOCUMENT, re.MULTILINE | re.DOTALL)
        shown = [bytes.fromhex(re.sub("[;#].*", "", block)) for block in blocks]
        complete = (header(("author", "Ada")) + entry("a")
                    + entry("b", b"", DEFLATED, carried=EMPTY_ZLIB))
        sealed = promising_header(("author", "Ada")) + entry("a") + seal({"name": "a"})
        self.assertEqual(shown, [header(), complete, sealed])
        told = [b"Verified 0 entries.\n", b"Verified 2 entries.\n", b"Verified 1 entry, sealed.\n"]
        self.assertEqual([run(archive, "verify")[1] for archive in shown], told)
        if shutil.which("javac"):
            command = "java", ROOT / "examples" / "ReadArchive.java", "verify", "-"
            self.assertEqual([subprocess.check_output(command, input=archive) for archive in shown],
                             told)


class Sealed(unittest.TestCase):
    ENTRIES = [
        {"name": "first", "data": b"stored data", "headers": [("k", "v")], "chunk": 4},
        {"name": "second", "data": b"deflated", "method": DEFLATED},
        {"name": "third", "data": b""},
    ]
    PARTS = [entry(**fields) for fields in ENTRIES]
    SEAL = seal(*ENTRIES)

    def test_no_flipped_bit_and_no_cut_goes_unnoticed(self):
        for reserved in (0, 64):
            archive = promising_header(("n", "v"), reserved=reserved) + b"".join(self.PARTS)
            archive += self.SEAL
            for at in range(len(archive)):
                flipped = [archive[:at] + bytes([archive[at] ^ 1 << bit]) + archive[at + 1:]
                           for bit in range(8)]
                for damaged in (archive[:at], *flipped):
                    # Some bits of a deflated stream change nothing.
                    found = dump(damaged)
                    self.assertTrue(found[0] == 4 or found == dump(archive), damaged)


if __name__ == "__main__":
    unittest.main()

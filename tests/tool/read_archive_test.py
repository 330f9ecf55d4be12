"""The example reader against archives that are put together byte by byte, or in the document.
With the argument "java", the reader in Java has to say the same of each as the one in Python."""

import contextlib
import hashlib
import io
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zlib
from unittest import mock

from archive_builder import (DEFLATED, STORED, entry, header, promising_header, seal, text,
                             u32)

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = (ROOT / "docs" / "archive-format.md").read_text(encoding="utf-8")
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "examples"))
import read_archive

EMPTY_ZLIB = bytes.fromhex("78 9C 03 00 00 00 00 01")
NO_HEADER = "Failed to read archive header: "
NO_ENTRY = "Failed to read archive entry: "
JAVA = None  # the process of the other reader, if it takes part
# Long enough for many pieces, and of few repetitions, so that deflating leaves several frames.
LONG = b"".join(hashlib.sha256(u32(number)).digest() for number in range(6000))


def run(archive, *command):
    """The exit code of the reader's `main`, its output, and its last message."""
    output, errors = io.TextIOWrapper(io.BytesIO(), encoding="ascii"), io.StringIO()
    with mock.patch("sys.stdin", io.TextIOWrapper(io.BytesIO(archive))), \
            contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
        status = read_archive.main([command[0], "-", *command[1:]])
    output.flush()
    found = status, output.buffer.getvalue(), errors.getvalue().rpartition("input: ")[2].strip()
    if JAVA:
        assert run_in_java(archive, *command) == found, found
    return found


def start_java(folder):
    sources = ROOT / "examples" / "ReadArchive.java", ROOT / "tests" / "java" / "ReaderService.java"
    subprocess.run(["javac", "-Xlint:all", "-Werror", "-d", folder, *sources], check=True)
    return subprocess.Popen(["java", "-cp", folder, "ReaderService"], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE)


def run_in_java(archive, *command):
    JAVA.stdin.write(b"\1" + text("\n".join((command[0], "-", *command[1:]))))
    JAVA.stdin.write(u32(len(archive)) + archive)
    JAVA.stdin.flush()
    status, output, errors = read_u32(), *(JAVA.stdout.read(read_u32()) for _ in range(2))
    return status, output, errors.decode().rpartition("input: ")[2].strip()


def read_u32():
    return int.from_bytes(JAVA.stdout.read(4), "big")


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

    def test_texts_keep_every_unit(self):
        rows = [
            (b"x\xC0\x80y", "x\0y"),
            (b"\xED\xA0\xBD\xED\xB8\x80", "\U0001F600"),
            (b"\xF0\x9F\x98\x80", "\U0001F600"),
            (b"a\xED\xB3\xBF", "a\udcff"),
            (b"\xED\xA0\xBD\xED\xA0\xBD\xED\xB8\x80", "\ud83d\U0001F600"),
            (b"x\0y\xFF", "x"),
            (b"n" * 65535, "n" * 65535),
        ]
        for encoded, text in rows:
            with self.subTest(text[:9]):
                archive = header((encoded, encoded)) + entry(encoded)
                status, (head, line), _ = dump(archive)
                self.assertEqual((status, head["headers"], line["name"]), (0, {text: text}, text))

    def test_the_document_shows_true_archives(self):
        blocks = re.findall(r"^```hex\n(.*?)^```$", DOCUMENT, re.MULTILINE | re.DOTALL)
        shown = [bytes.fromhex(re.sub("[;#].*", "", block)) for block in blocks]
        complete = (header(("author", "Ada")) + entry("a")
                    + entry("b", b"", DEFLATED, carried=EMPTY_ZLIB))
        sealed = promising_header(("author", "Ada")) + entry("a") + seal({"name": "a"})
        self.assertEqual(shown, [header(), complete, sealed])
        self.assertEqual([run(archive, "verify")[1] for archive in shown],
                         [b"Verified 0 entries.\n", b"Verified 2 entries.\n",
                          b"Verified 1 entry, sealed.\n"])


class Bad(unittest.TestCase):
    def test_each_check_has_its_message(self):
        good = header() + entry()
        trailing = zlib.compress(b"abc") + b"x"
        rows = [
            (b"", NO_HEADER + "invalid archive header magic."),
            (good.replace(b"Lark", b"Dark"), NO_HEADER + "invalid archive header magic."),
            (header(major=2, minor=1), NO_HEADER + "unsupported archive version read."),
            (header(("n", "v"), reserved=36),
             NO_HEADER + "archive header size exceeds the specified header size."),
            (good + bytes(2), NO_ENTRY + "invalid entry name."),
            (header() + entry()[:11] + b"\xFF" * 4 + b"abc", "End of input reached."),
            (header()[:-4] + b"\xFF" * 4, "End of input reached."),
        ]
        bad_entries = [
            ({"name": b"\0a"}, NO_ENTRY + "invalid entry name."),
            ({"method": 3}, NO_ENTRY + "invalid entry method."),
            ({"headers": [("", "v")]}, "Invalid archive entry header name: header name is empty."),
            ({"archived": 4, "size": 4, "crc": 0}, NO_ENTRY + "entry archived size check failed."),
            ({"size": 3 + (1 << 32), "crc": 0}, NO_ENTRY + "entry size check failed."),
            ({"crc": 0}, NO_ENTRY + "entry crc check failed."),
        ]
        inflating = [
            (b"abc", "Inflate failed: data error"),
            (b"\x78\xBB\0\0\0\1\3\0", "Inflate failed: need dictionary"),
            (EMPTY_ZLIB[:-1], "Inflate failed: end of stream reached."),
            (trailing, NO_ENTRY + "entry archived size check failed."),
        ]
        malformed = (b"\x80", b"\xC3", b"\xC1\x81", b"\xE0\x81\x81", b"\xFF", b"\xF4\x90\x80\x80")
        rows += [(header() + entry(text), "Failed to convert bytes: malformed UTF-8.")
                 for text in malformed]
        rows += [(header() + entry(**fields), message) for fields, message in bad_entries]
        rows += [(header() + entry("a", b"abc", DEFLATED, carried=carried, chunk=chunk), message)
                 for carried, message in inflating for chunk in (99, len(trailing) - 1)]
        for archive, message in rows:
            with self.subTest(message, archive=archive):
                status, lines, found = dump(archive)
                self.assertEqual((status, found), (4, message))
                self.assertLessEqual(len(lines), 2 if archive.startswith(good) else 1)
                self.assertIn(re.sub("data error|need dictionary", "", message), DOCUMENT)


class Damaged(unittest.TestCase):
    PARTS = [
        header(("n", "v"), reserved=48),
        entry("first", b"stored data", headers=[("k", "v")], chunk=4),
        entry("second", b"deflated " * 20, DEFLATED, chunk=7),
        entry("first", b"", DEFLATED),
    ]
    ARCHIVE = b"".join(PARTS)

    def test_a_cut_is_reported_but_where_the_archive_looks_complete(self):
        whole = dump(self.ARCHIVE)[1]
        looks_complete = set(range(37, 48))  # inside the fill
        end = 0
        for part, name in zip(self.PARTS, ("first", "second", "first", "")):
            end += len(part)
            looks_complete.update(range(end, end + 2 + len(name)))
        for cut in range(len(self.ARCHIVE)):
            with self.subTest(cut=cut):
                status, lines, _ = dump(self.ARCHIVE[:cut])
                self.assertEqual(status, 0 if cut in looks_complete else 4)
                self.assertEqual(lines, whole[:len(lines)])


class Sealed(unittest.TestCase):
    ENTRIES = [
        {"name": "first", "data": b"stored data", "headers": [("k", "v")], "chunk": 4},
        {"name": "second", "data": b"deflated", "method": DEFLATED},
        {"name": "third", "data": b""},
    ]
    PARTS = [entry(**fields) for fields in ENTRIES]
    SEAL = seal(*ENTRIES)

    def test_each_end_is_told(self):
        torn = ("Failed to verify archive: its header is torn, or was changed by a program that "
                "does not know the seal.")
        wrong = "Failed to verify archive: its seal does not fit."
        missing = "Failed to verify archive: the seal that its header promises is missing."
        unpromised = "Failed to verify archive: its header does not promise the seal."
        head = promising_header(("n", "v"), reserved=64)
        first, second, third = self.PARTS
        whole = first + second + third + self.SEAL
        rows = [
            (head + whole, ""),
            (promising_header() + whole, ""),
            (header() + first + b"x", ""),
            (header(("seal", "a walrus")) + first, ""),
            (promising_header(minor=7) + whole, torn),
            (promising_header(reserved=64, fill=b"\1") + whole, torn),
            (header(("seal", "1 00000001")) + whole, torn),
            (header(("seal", "1 00000000"), ("n", "v")) + whole, torn),
            (promising_header(reserved=49) + whole, torn),
            (head[:-1], torn),
            (head + first + second + self.SEAL, wrong),
            (head + second + first + third + self.SEAL, wrong),
            (head + whole + b"x", wrong),
            (header() + first + b"\xFF" + whole, wrong),
            (head + first + second + third, missing),
            (header() + whole, unpromised),
        ]
        for archive, message in rows:
            with self.subTest(message, archive=archive):
                self.assertEqual(dump(archive)[::2], (4 if message else 0, message))
                self.assertIn(message, DOCUMENT)

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
    if sys.argv[1:] != ["java"]:
        unittest.main()
    if not shutil.which("javac"):
        print("No javac here.")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as folder, start_java(folder) as JAVA:
        unittest.main(argv=sys.argv[:1])

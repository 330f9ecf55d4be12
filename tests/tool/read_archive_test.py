"""The example reader against archives that are put together here byte by byte, and against those
that the format's document shows."""

import contextlib
import hashlib
import importlib.util
import io
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import zlib
from unittest import mock

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "examples" / "read_archive.py"
DOCUMENT = (ROOT / "docs" / "archive-format.md").read_text(encoding="utf-8")

sys.dont_write_bytecode = True
SOURCE = importlib.util.spec_from_file_location("read_archive", SCRIPT)
READER = importlib.util.module_from_spec(SOURCE)
SOURCE.loader.exec_module(READER)

MAGIC = b"LarkspanArchive"
DEFLATED, STORED = 1, 2
EMPTY_ZLIB = bytes.fromhex("78 9C 03 00 00 00 00 01")
NO_HEADER = "Failed to read archive header: "
NO_ENTRY = "Failed to read archive entry: "
END_OF_INPUT = "End of input reached."
MALFORMED = "Failed to convert bytes: malformed UTF-8."


def u32(value):
    return value.to_bytes(4, "big")


def raw(data):
    return len(data).to_bytes(2, "big") + data


def pairs(headers):
    return u32(len(headers)) + b"".join(raw(part) for pair in headers for part in pair)


def header(headers=(), reserved=0, major=1, minor=0):
    block = MAGIC + u32(major) + u32(minor) + u32(reserved) + pairs(headers)
    return block + b"\xA5" * (reserved - len(block))  # the fill is nothing that a reader looks at


def framed(data, chunk=262144):
    cuts = [data[at:at + chunk] for at in range(0, len(data), chunk)]
    return b"".join(u32(len(cut)) + cut for cut in cuts) + u32(0)


def entry(name=b"a", data=b"abc", method=STORED, headers=(), chunk=262144, **wrong):
    """`wrong` replaces what the framing carries (`carried`) or a field of the footer."""
    carried = wrong.get("carried", zlib.compress(data) if method == DEFLATED else data)
    return (raw(name) + u32(method) + pairs(headers) + framed(carried, chunk)
            + wrong.get("archived", len(carried)).to_bytes(8, "big")
            + wrong.get("size", len(data)).to_bytes(8, "big")
            + u32(wrong.get("crc", zlib.crc32(data))))


def run(archive, *command):
    """The exit code of the reader's `main`, its output, and its last message."""
    output, errors = io.TextIOWrapper(io.BytesIO(), encoding="ascii"), io.StringIO()
    with mock.patch("sys.stdin", io.TextIOWrapper(io.BytesIO(archive))), \
            contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
        status = READER.main([command[0], "-", *command[1:]])
    return status, output.buffer.getvalue(), errors.getvalue().rpartition("input: ")[2].strip()


def dump(archive):
    status, output, message = run(archive, "dump")
    return status, [json.loads(line) for line in output.splitlines()], message


# Long enough for many pieces, and of few repetitions, so that deflating leaves several frames.
LONG = b"".join(hashlib.sha256(u32(number)).digest() for number in range(6000))


class Good(unittest.TestCase):
    def test_entries_come_back_as_they_were_put_in(self):
        rows = [
            ("stored", header(), b"abc", STORED, 9),
            ("stored, frames of one byte", header(), b"abc", STORED, 1),
            ("stored, nothing", header(), b"", STORED, 9),
            ("stored, one frame longer than a piece", header(), LONG, STORED, len(LONG)),
            ("deflated", header(), b"abc" * 1000, DEFLATED, 262144),
            ("deflated, frames of one byte", header(), b"abc" * 1000, DEFLATED, 1),
            ("deflated, nothing", header(), b"", DEFLATED, 9),
            ("deflated, long", header(), LONG, DEFLATED, 1000),
            ("deflated to a thousandth", header(), bytes(5000000), DEFLATED, 262144),
            ("room reserved", header([(b"n", b"v")], reserved=256), b"abc", STORED, 9),
            ("little room reserved", header(reserved=32), b"abc", STORED, 9),
            ("the header fills its room", header([(b"n", b"v")], reserved=37), b"abc", STORED, 9),
        ]
        for name, head, data, method, chunk in rows:
            with self.subTest(name):
                built = entry(b"x", data, method, [(b"k", b""), (b"k", b"2"), (b"e", b"")], chunk)
                archive = head + built + entry(b"x")
                self.assertEqual(run(archive, "cat", "x"), (0, data, ""))
                status, (_, first, second), message = dump(archive)
                self.assertEqual((status, message, second["name"]), (0, "", "x"))
                carried = len(zlib.compress(data)) if method == DEFLATED else len(data)
                self.assertEqual(first, {
                    "name": "x", "method": "deflated" if method == DEFLATED else "stored",
                    "headers": {"k": "2", "e": ""}, "archivedSize": carried, "size": len(data),
                    "crc": zlib.crc32(data), "sha256": hashlib.sha256(data).hexdigest()})

    def test_texts_keep_every_unit(self):
        rows = [
            (b"a\xC3\xA9\xE2\x82\xAC", "a\u00E9\u20AC"),
            (b"x\xC0\x80y", "x\0y"),
            (b"\xED\xA0\xBD\xED\xB8\x80", "\U0001F600"),
            (b"\xF0\x9F\x98\x80", "\U0001F600"),
            (b"a\xED\xB3\xBF", "a\udcff"),
            (b"\xED\xA0\xBD\xED\xA0\xBD\xED\xB8\x80", "\ud83d\U0001F600"),
            (b"\xED\xB8\x80\xED\xA0\xBD", "\ude00\ud83d"),
            (b"x\0y\xFF", "x"),
            (b"n" * 65535, "n" * 65535),
        ]
        for encoded, text in rows:
            with self.subTest(text[:9]):
                archive = header([(encoded, encoded)]) + entry(encoded, headers=[(b"k", encoded)])
                status, (head, line), _ = dump(archive)
                self.assertEqual((status, head["headers"]), (0, {text: text}))
                self.assertEqual((line["name"], line["headers"]), (text, {"k": text}))

    def test_control_characters_reach_no_terminal(self):
        name = b"\x1B[2J\x7F\xC2\x9B\n"
        for command in (["list"], ["dump"], ["verify"], ["cat", "\x1B\x9B"]):
            with self.subTest(command[0]):
                _, output, message = run(header() + entry(name), *command)
                text = output.decode("ascii") + message
                self.assertTrue(text.replace("\n", "").isprintable())

    def test_the_document_shows_true_archives(self):
        blocks = re.findall(r"^```hex\n(.*?)^```$", DOCUMENT, re.MULTILINE | re.DOTALL)
        shown = [bytes.fromhex(re.sub("[;#].*", "", block)) for block in blocks]
        complete = (header([(b"author", b"Ada")]) + entry(b"a", b"abc")
                    + entry(b"b", b"", DEFLATED, carried=EMPTY_ZLIB))
        self.assertEqual(shown, [header(), complete])
        self.assertEqual([run(archive, "verify")[1] for archive in shown],
                         [b"Verified 0 entries.\n", b"Verified 2 entries.\n"])


class Bad(unittest.TestCase):
    def test_each_check_has_its_message(self):
        good = header() + entry()
        trailing = zlib.compress(b"abc") + b"x"
        rows = [
            ("no bytes", b"", NO_HEADER + "invalid archive header magic."),
            ("magic", good.replace(b"Lark", b"Dark"), NO_HEADER + "invalid archive header magic."),
            ("room exceeded", MAGIC + u32(1) + u32(0) + u32(36) + pairs([(b"n", b"v")]),
             NO_HEADER + "archive header size exceeds the specified header size."),
            ("name empty", header() + entry(b""), NO_ENTRY + "invalid entry name."),
            ("name begins with a zero byte", header() + entry(b"\0a"),
             NO_ENTRY + "invalid entry name."),
            ("zeros behind the end", good + bytes(2), NO_ENTRY + "invalid entry name."),
            ("method 0", header() + entry(method=0), NO_ENTRY + "invalid entry method."),
            ("method 3", header() + entry(method=3), NO_ENTRY + "invalid entry method."),
            ("header name empty", header() + entry(headers=[(b"", b"v")]),
             "Invalid archive entry header name: header name is empty."),
            ("archived size first", header() + entry(archived=4, size=4, crc=0),
             NO_ENTRY + "entry archived size check failed."),
            ("size next", header() + entry(size=4, crc=0), NO_ENTRY + "entry size check failed."),
            ("CRC last", header() + entry(crc=0), NO_ENTRY + "entry crc check failed."),
            ("high bits of a size", header() + entry(size=3 + (1 << 32)),
             NO_ENTRY + "entry size check failed."),
            ("no zlib stream", header() + entry(method=DEFLATED, carried=b"abc"),
             "Inflate failed: data error"),
            ("dictionary wanted", header() + entry(
                method=DEFLATED, carried=b"\x78\xBB\0\0\0\1\3\0"),
             "Inflate failed: need dictionary"),
            ("zlib stream cut", header() + entry(method=DEFLATED, carried=EMPTY_ZLIB[:-1]),
             "Inflate failed: end of stream reached."),
            ("bytes behind zlib stream", header() + entry(method=DEFLATED, carried=trailing),
             NO_ENTRY + "entry archived size check failed."),
            ("bytes in a later frame", header() + entry(
                method=DEFLATED, carried=trailing, chunk=len(trailing) - 1),
             NO_ENTRY + "entry archived size check failed."),
            ("4 GiB announced", header() + entry()[:11] + b"\xFF" * 4 + b"abc", END_OF_INPUT),
            ("4 billion pairs announced", header()[:-4] + b"\xFF" * 4, END_OF_INPUT),
        ]
        malformed = [b"\x80", b"\xC3", b"\xC1\x81", b"\xE0\x81\x81", b"\xE2\xC0\x80", b"\xFF",
                     b"\xF4\x90\x80\x80", b"\xF0\x80\x80\x80"]
        rows += [(f"text {text.hex()}", header() + entry(text), MALFORMED) for text in malformed]
        for name, archive, message in rows:
            with self.subTest(name):
                status, lines, found = dump(archive)
                self.assertEqual((status, found), (4, message))
                self.assertLessEqual(len(lines), 2 if archive.startswith(good) else 1)
                self.assertIn(re.sub("data error|need dictionary", "", message), DOCUMENT)

    def test_versions_are_refused_by_both_numbers(self):
        rows = [(1, 0, 0), (1, 7, 0), (2, 0, 0), (0, 0, 0), (2, 1, 4), (0, 1, 4)]
        for major, minor, status in rows:
            with self.subTest(version=(major, minor)):
                found, _, message = run(header(major=major, minor=minor) + entry(), "verify")
                self.assertEqual(found, status)
                self.assertIn("unsupported archive version read." if status else "", message)


class Damaged(unittest.TestCase):
    HEAD = header([(b"n", b"v")], reserved=48)
    PARTS = [
        HEAD,
        entry(b"first", b"stored data", headers=[(b"k", b"v")], chunk=4),
        entry(b"second", b"deflated " * 20, DEFLATED, chunk=7),
        entry(b"first", b"", DEFLATED),
    ]
    ARCHIVE = b"".join(PARTS)

    def test_a_cut_is_reported_but_where_the_archive_looks_complete(self):
        whole = dump(self.ARCHIVE)[1]
        looks_complete = set(range(37, 48))  # inside the fill
        end = 0
        for part, name in zip(self.PARTS, (b"first", b"second", b"first", b"")):
            end += len(part)
            looks_complete.update(range(end, end + 2 + len(name)))
        for cut in range(len(self.ARCHIVE)):
            with self.subTest(cut=cut):
                status, lines, _ = dump(self.ARCHIVE[:cut])
                self.assertEqual(status, 0 if cut in looks_complete else 4)
                self.assertEqual(lines, whole[:len(lines)])
                status, data, _ = run(self.ARCHIVE[:cut], "cat", "second")
                self.assertTrue((b"deflated " * 20).startswith(data))
                self.assertTrue(status != 0 or data == b"deflated " * 20)

    def test_a_flipped_bit_gives_no_wrong_data(self):
        digests = {line["sha256"] for line in dump(self.ARCHIVE)[1][1:]}
        for bit in range(8 * len(self.ARCHIVE)):
            damaged = bytearray(self.ARCHIVE)
            damaged[bit // 8] ^= 1 << bit % 8
            status, lines, _ = dump(bytes(damaged))
            with self.subTest(bit=bit):
                self.assertIn(status, (0, 4))
                self.assertLessEqual({line["sha256"] for line in lines[1:]}, digests)


class Program(unittest.TestCase):
    def test_files_and_exit_codes(self):
        with tempfile.TemporaryDirectory() as folder:
            archive = pathlib.Path(folder, "a.lsa")
            archive.write_bytes(header() + entry(b"\xED\xB3\xBF", LONG))
            rows = [(["verify", archive], 0), (["cat", archive, b"\xFF"], 0),
                    (["cat", archive, "b"], 1), (["cat", archive], 2), (["list", folder], 3),
                    (["list", archive.with_suffix(".no")], 3), (["list", SCRIPT], 4)]
            for arguments, status in rows:
                with self.subTest(arguments[0], status=status):
                    done = subprocess.run([sys.executable, str(SCRIPT), *arguments],
                                          capture_output=True, check=False)
                    self.assertEqual(done.returncode, status)
                    self.assertNotIn(b"Traceback", done.stderr)
                    if arguments[-1] == b"\xFF":
                        self.assertEqual(done.stdout, LONG)


if __name__ == "__main__":
    unittest.main()

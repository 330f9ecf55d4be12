#!/usr/bin/env python3
"""Reads archives with nothing but Python's standard library.

ARCHIVE is a file, or - for standard input. The format is described in docs/archive-format.md;
the classes of this file follow its order, and can be used on their own:

    with open("a.lsa", "rb") as stream:
        archive = ArchiveReader(stream)
        for entry in archive.entries():
            for block in entry.data:
                ...

An archive is one stream, read once from front to back. No entry is held in memory, and no length
or count from the stream decides how much memory is allocated. An entry's data is verified only
after its last block, when the footer that follows it has been checked: don't trust it before.
If the header promises a seal, a wrong or missing one is reported after the last entry.

Names and values are printed as JSON texts in ASCII, so that no byte of an archive reaches a
terminal as a command. A file name that is not valid UTF-8 has lone surrogates, the same ones
that Python uses: os.fsencode(entry.name) returns the original bytes.

Exit codes: 0 done; 1 no entry of that name; 2 wrong usage; 3 a system error; 4 a bad archive;
130 interrupted.
"""

import argparse
import hashlib
import json
import os
import re
import struct
import sys
import zlib

MAGIC = b"LarkspanArchive"
DEFLATED, STORED = 1, 2
METHOD_NAMES = {DEFLATED: "deflated", STORED: "stored"}
BLOCK_SIZE = 65536  # the most that is read, or inflated, at a time
LONGEST_TARGET = 65535  # no system has a longer target of a link

SEAL_MARK = b"\xFF\xFFLarkspanSeal"

HEADER_FAILED = "Failed to read archive header: "
ENTRY_FAILED = "Failed to read archive entry: "
CHECK_FAILED = "Failed to verify archive: "


class ArchiveError(Exception):
    """The archive is bad. The message says why."""


class EndOfInputError(ArchiveError):
    """The stream is truncated."""


class ValueReader:
    """Numbers and texts on a buffered binary stream, and the position after the last one."""

    def __init__(self, stream):
        self._stream = stream
        self.position = 0
        self.watch = None  # called with all data that is read, while it is set

    def read_some(self, size):
        """At most `size` bytes, and at most a block; empty only at the end of the stream."""
        data = self._stream.read(min(size, BLOCK_SIZE))
        self.position += len(data)
        if self.watch:
            self.watch(data)
        return data

    def read_exactly(self, size):
        """`size` bytes, which must not be more than a block."""
        data = self.read_some(size)
        if len(data) < size:
            raise EndOfInputError("End of input reached.")
        return data

    def read_u32(self):
        return struct.unpack(">I", self.read_exactly(4))[0]

    def read_u64(self):
        return struct.unpack(">Q", self.read_exactly(8))[0]

    def read_text(self):
        (length,) = struct.unpack(">H", self.read_exactly(2))
        return decode_text(self.read_exactly(length))

    def read_frames(self):
        """The bytes that the chunked framing carries, up to its terminator."""
        while True:
            left = self.read_u32()
            if left == 0:
                return
            while left > 0:
                block = self.read_some(left)
                if not block:
                    raise EndOfInputError("End of input reached.")
                left -= len(block)
                yield block


def decode_text(data):
    """Decodes modified UTF-8; unpaired 16-bit surrogates stay lone surrogates."""
    data, _, _ = data.partition(b"\0")  # a zero byte ends the text early
    # C0 occurs in no valid sequence but C0 80, so that no other one is damaged by this.
    data = data.replace(b"\xc0\x80", b"\0")
    try:
        units = data.decode("utf-8", "surrogatepass").encode("utf-16-be", "surrogatepass")
    except UnicodeDecodeError:
        raise ArchiveError("Failed to convert bytes: malformed UTF-8.") from None
    return units.decode("utf-16-be", "surrogatepass")  # joins the pairs


class Entry:
    """One entry. `data` yields its plain bytes in blocks; the sizes and the CRC are None until the
    last block has been read and the footer has been checked."""

    def __init__(self, name, method):
        self.name = name
        self.method = method
        self.headers = {}
        self.archived_size = None
        self.size = None
        self.crc = None
        self.data = iter(())

    def verify(self):
        """Reads the rest of the data, and checks the footer."""
        for _ in self.data:
            pass
        if self.crc is None:  # an earlier failure was caught: the position is undefined
            raise ArchiveError(ENTRY_FAILED + "the entry is broken off.")


class Seal:
    """The seal as it must be, gathered while the entries go by."""

    def __init__(self):
        self._count = self._size = self._crc = 0

    def add(self, data):
        self._crc = zlib.crc32(data, self._crc)

    def add_footer(self, size, crc):
        self.add(struct.pack(">QI", size, crc))
        self._count += 1
        self._size = (self._size + size) % (1 << 64)

    def encode(self):
        data = SEAL_MARK + struct.pack(">IQQI", 1, self._count, self._size, self._crc)
        return data + struct.pack(">I", zlib.crc32(data))


class HeaderCheck:
    """The promise of a seal among the pairs of the archive header, and what it says of the rest."""

    def __init__(self):
        self._crc = 0
        self._zero = True
        self._previous = 0, 0
        self.promised = None  # the CRC that all other pairs must have
        self.right = False

    def watch(self, data):
        self._crc = zlib.crc32(data, self._crc)
        self._zero = self._zero and not any(data)

    def take_pair(self, name, value, size):
        """The pair that was read last; `size` is that of all pairs so far."""
        crc, begin = self._previous
        self.right = False
        if name == "seal":
            known = re.fullmatch("1 ([0-9A-F]{8})", value)
            self.promised = int(known[1], 16) if known else None
            self.right = self.promised == crc and size - begin == 18
        self._previous = self._crc, size

    def begin_padding(self):
        self._zero = True

    def take_rest(self, version, has_room, padding, padding_read):
        has_padding = padding > 0 and padding_read == padding and self._zero
        self.right = self.right and version == (1, 0) and (has_padding or not has_room)


class ArchiveReader:
    """Reads the archive header at once, and the entries on demand. After the last entry, `sealed`
    says whether the archive has a seal; a wrong seal is an error."""

    def __init__(self, stream):
        self._values = ValueReader(stream)
        self.headers = {}
        self._check = HeaderCheck()
        self._seal = Seal()
        self.sealed = False
        self._read_header()

    def entries(self):
        """The entries in order. The rest of an entry's data is read, and verified, before the next
        entry, and the seal after the last."""
        while True:
            entry = self._read_entry_header()
            if entry is None:
                self._check_end()
                return
            yield entry
            entry.verify()

    def _read_header(self):
        values = self._values
        if values.read_some(len(MAGIC)) != MAGIC:
            raise ArchiveError(HEADER_FAILED + "invalid archive header magic.")
        self.version = (values.read_u32(), values.read_u32())
        if self.version[0] != 1 and self.version[1] != 0:
            raise ArchiveError(HEADER_FAILED + "unsupported archive version read.")
        self.reserved_size = values.read_u32()
        count = values.read_u32()
        begin = values.position
        values.watch = self._check.watch
        for _ in range(count):
            name = values.read_text()
            self.headers[name] = values.read_text()
            self._check.take_pair(name, self.headers[name], values.position - begin)
        end = values.position
        if self.reserved_size and end > self.reserved_size:
            reason = "archive header size exceeds the specified header size."
            raise ArchiveError(HEADER_FAILED + reason)
        self._check.begin_padding()
        while values.position < self.reserved_size:
            if not values.read_some(self.reserved_size - values.position):
                break  # truncated in the padding: the same as an archive without entries
        values.watch = None
        self._check.take_rest(self.version, self.reserved_size > 0, self.reserved_size - end,
                              values.position - end)

    def _check_end(self):
        marked = SEAL_MARK in self._tail
        promised = self._check.promised is not None
        if promised and not self._check.right:
            raise ArchiveError(CHECK_FAILED + "its header is torn, or was changed by a program "
                               "that does not know the seal.")
        if marked and self._tail != self._seal.encode():
            raise ArchiveError(CHECK_FAILED + "its seal does not fit.")
        if promised and not marked:
            raise ArchiveError(CHECK_FAILED + "the seal that its header promises is missing.")
        if marked and not promised:
            raise ArchiveError(CHECK_FAILED + "its header does not promise the seal.")
        self.sealed = marked

    def _read_entry_header(self):
        """The next entry, or None if the stream ends before a name is complete."""
        values = self._values
        self._tail = bytearray()
        values.watch = self._tail.extend
        try:
            name = values.read_text()
        except EndOfInputError:
            return None
        self._seal.add(self._tail)
        values.watch = self._seal.add
        if not name:
            raise ArchiveError(ENTRY_FAILED + "invalid entry name.")
        entry = Entry(name, values.read_u32())
        if entry.method not in METHOD_NAMES:
            raise ArchiveError(ENTRY_FAILED + "invalid entry method.")
        for _ in range(values.read_u32()):
            header = values.read_text()
            value = values.read_text()
            if not header:
                raise ArchiveError("Invalid archive entry header name: header name is empty.")
            entry.headers[header] = value
        values.watch = None
        entry.data = self._read_data(entry)
        return entry

    def _read_data(self, entry):
        archived_size = size = crc = 0
        inflater = zlib.decompressobj() if entry.method == DEFLATED else None
        for block in self._values.read_frames():
            archived_size += len(block)
            for plain in inflate(inflater, block) if inflater else (block,):
                size += len(plain)
                crc = zlib.crc32(plain, crc)
                yield plain
        if inflater and not inflater.eof:
            raise ArchiveError("Inflate failed: end of stream reached.")
        self._compare(self._values.read_u64(), archived_size, "archived size")
        self._compare(self._values.read_u64(), size, "size")
        self._compare(self._values.read_u32(), crc, "crc")
        self._seal.add_footer(size, crc)
        entry.archived_size, entry.size, entry.crc = archived_size, size, crc

    @staticmethod
    def _compare(stored, counted, what):
        if stored != counted:
            raise ArchiveError(f"{ENTRY_FAILED}entry {what} check failed.")


def inflate(inflater, data):
    """What `data` adds to the inflated stream, in blocks of bounded size."""
    while True:
        try:
            plain = inflater.decompress(data, BLOCK_SIZE)
        except zlib.error as error:
            # The two errors that data can cause, in zlib's own words.
            reason = "need dictionary" if str(error).startswith("Error 2 ") else "data error"
            raise ArchiveError("Inflate failed: " + reason) from error
        if inflater.unused_data:  # bytes after the end of the zlib stream
            raise ArchiveError(ENTRY_FAILED + "entry archived size check failed.")
        if not plain:
            return
        yield plain
        data = inflater.unconsumed_tail


def read_target(entry):
    """Where a symbolic or hard link leads, to be printed; nothing for any other entry."""
    if entry.headers.get("type") not in ("link", "hardlink"):
        return ""
    target = b""
    for block in entry.data:
        target = (target + block)[:LONGEST_TARGET]
    return " -> " + "".join(chr(byte) if 32 <= byte < 127 else f"\\x{byte:02x}" for byte in target)


def list_entries(archive, _):
    for entry in archive.entries():
        target = read_target(entry)
        entry.verify()
        print(f"{METHOD_NAMES[entry.method]:8} {entry.archived_size:12} {entry.size:12} "
              f"{entry.crc:08x} {json.dumps(entry.name)}{target}")
    return 0


def verify(archive, _):
    count = sum(1 for _ in archive.entries())
    sealed = ", sealed" if archive.sealed else ""
    print(f"Verified {count} {'entry' if count == 1 else 'entries'}{sealed}.")
    return 0


def cat(archive, options):
    for entry in archive.entries():
        if entry.name == options.name:
            for block in entry.data:
                sys.stdout.buffer.write(block)
            return 0
    complain(options, "no entry named " + json.dumps(options.name))
    return 1


def dump(archive, _):
    """One JSON line for the archive header, then one for each entry that has been verified."""
    print(json.dumps({"headers": archive.headers, "reservedSize": archive.reserved_size,
                      "version": archive.version}))
    for entry in archive.entries():
        digest = hashlib.sha256()
        for block in entry.data:
            digest.update(block)
        print(json.dumps({"name": entry.name, "method": METHOD_NAMES[entry.method],
                          "headers": entry.headers, "archivedSize": entry.archived_size,
                          "size": entry.size, "crc": entry.crc, "sha256": digest.hexdigest()}))
    return 0


COMMANDS = {
    "list": (list_entries, "print method, compressed size, size, CRC and name of each entry"),
    "verify": (verify, "read everything and check it"),
    "cat": (cat, "print the data of the first entry of a name"),
    "dump": (dump, "print headers, entries and SHA-256 digests as JSON lines"),
}


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="read_archive.py", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", metavar="COMMAND", required=True)
    for name, (_, purpose) in COMMANDS.items():
        command = commands.add_parser(name, help=purpose, description=purpose + ".")
        command.add_argument("archive", metavar="ARCHIVE", help="a file, or - for standard input")
        if name == "cat":
            command.add_argument("name", metavar="NAME", help="the entry's name")
    return parser.parse_args(arguments)


def complain(options, message):
    where = "standard input" if options.archive == "-" else json.dumps(options.archive)
    print(f"read_archive.py: {where}: {message}", file=sys.stderr)


def main(arguments=None):
    options = parse_arguments(arguments)
    command, _ = COMMANDS[options.command]
    try:
        if options.archive == "-":
            status = command(ArchiveReader(sys.stdin.buffer), options)
        else:
            with open(options.archive, "rb") as stream:
                status = command(ArchiveReader(stream), options)
        sys.stdout.flush()
        return status
    except ArchiveError as error:
        complain(options, error)
        return 4
    except BrokenPipeError:
        # Nobody reads the output any more. Python would try to flush it again at exit.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 3
    except OSError as error:
        complain(options, error.strerror)
        return 3
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())

"""Archives put together byte by byte, without the code under test: right ones, and wrong ones."""

import zlib

DEFLATED, STORED = 1, 2


def u32(value):
    return value.to_bytes(4, "big")


def text(value):
    """`value` is a str, or the bytes as they are to stand in the archive."""
    if isinstance(value, str):
        value = value.encode("utf-8", "surrogatepass").replace(b"\0", b"\xc0\x80")
    return len(value).to_bytes(2, "big") + value


def pairs(headers):
    return u32(len(headers)) + b"".join(text(part) for pair in headers for part in pair)


def header(*headers, reserved=0, major=1, minor=0, fill=b"\xA5"):
    block = b"LarkspanArchive" + u32(major) + u32(minor) + u32(reserved) + pairs(headers)
    return block + fill * (reserved - len(block))  # nothing that a reader looks at without a seal


def entry_header(name="a", method=STORED, headers=()):
    return text(name) + u32(method) + pairs(headers)


def entry(name="a", data=b"abc", method=STORED, headers=(), chunk=262144, **wrong):
    """`wrong` replaces what the framing carries (`carried`) or a field of the footer."""
    carried = wrong.get("carried", zlib.compress(data) if method == DEFLATED else data)
    cuts = [carried[at:at + chunk] for at in range(0, len(carried), chunk)]
    frames = b"".join(u32(len(cut)) + cut for cut in cuts) + u32(0)
    return (entry_header(name, method, headers) + frames
            + wrong.get("archived", len(carried)).to_bytes(8, "big")
            + wrong.get("size", len(data)).to_bytes(8, "big")
            + u32(wrong.get("crc", zlib.crc32(data))))


def promising_header(*headers, **fields):
    promise = f"1 {zlib.crc32(pairs(headers)[4:]):08X}"
    return header(*headers, ("seal", promise), **{"fill": b"\0", **fields})


def seal(*entries):
    """`entries` are dictionaries of what `entry` takes."""
    known = "name", "method", "headers"
    covered = b"".join(entry_header(**{key: fields[key] for key in known if key in fields})
                       + entry(**fields)[-12:] for fields in entries)
    sizes = sum(len(fields.get("data", b"abc")) for fields in entries)
    record = (b"\xFF\xFFLarkspanSeal" + u32(1) + len(entries).to_bytes(8, "big")
              + sizes.to_bytes(8, "big") + u32(zlib.crc32(covered)))
    return record + u32(zlib.crc32(record))

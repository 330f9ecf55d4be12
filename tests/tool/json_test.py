"""What the tool prints for programs, against its description in docs/json.md. Environment as in
tool_test.py."""

import base64
import json
import os
import pathlib
import re
import unittest

from archive_builder import entry, header
from tool_test import BAD, DONE, INCOMPLETE, SYSTEM, USAGE, ToolTest

DOCUMENT = pathlib.Path(__file__).resolve().parents[2] / "docs" / "json.md"
TYPES = {"text": str, "number": int, "true or false": bool, "object": dict, "list": list}


def read_schema():
    """The keys of each object, with the type of the value and whether it is always there."""
    shared, *sections = re.split(r"^## ", DOCUMENT.read_text(), flags=re.M)
    rows = {section.split("\n")[0]: section for section in sections}
    return {name: {key: (TYPES[value], not optional) for key, optional, value in
                   re.findall(r"^\| `(\w+)(\?)?` \| ([\w ]+) \|", shared + text, re.M)}
            for name, text in rows.items()}


class JsonTest(ToolTest):
    def run_json(self, line, code=DONE):
        """The objects on both outputs, which hold nothing else."""
        told = self.run_tool("--json", *line.split(), code=code)
        return [[json.loads(part) for part in output.splitlines()] for output in told]

    def test_objects_are_as_they_are_described(self):
        self.write("tree/a", b"data", 0o640, time_ns=-1_500_000_000)
        odd = self.write(os.fsdecode(b"tree/\xff"), b"x" * 9000)
        (self.folder / "tree/void").mkdir()
        (self.folder / "tree/link").symlink_to("a")
        self.write("bad.lsa", header(("n\udcff", "v\udcfe")) + entry("f", b"12345678")[:-1] + b"?")
        self.run_tool("create", "--owner", "a.lsa", "tree")
        self.run_tool("create", "b.lsa", "tree/a")
        self.write("tree/a", b"date", 0o600)
        odd.unlink()
        schema = read_schema()
        met = {name: set() for name in schema}
        for line, code in (("list -l a.lsa tree none", INCOMPLETE), ("info a.lsa", DONE),
                           ("verify a.lsa bad.lsa", BAD), ("headers get bad.lsa", DONE),
                           ("diff a.lsa", INCOMPLETE), ("add -n a.lsa tree", DONE),
                           ("remove -n a.lsa tree", DONE), ("merge -n c.lsa a.lsa b.lsa", DONE),
                           ("verify -v bad.lsa", BAD), ("verify -v a.lsa", DONE),
                           ("create d.lsa ../none", SYSTEM), ("list", USAGE), ("", USAGE),
                           ("list --tree a.lsa", USAGE), ("headers get a.lsa none", INCOMPLETE)):
            output, told = self.run_json(line, code)
            codes = [one["exitCode"] for one in told if "exitCode" in one]
            self.assertEqual(max(codes, default=DONE), DONE if line.startswith("diff") else code)
            for one in output + told:
                keys = schema[one["object"]]
                for key, value in one.items():
                    self.assertIs(type(value), keys[key][0], (line, key))
                self.assertLessEqual({key for key in keys if keys[key][1]}, one.keys(), line)
                met[one["object"]] |= one.keys()
        self.assertEqual(met, {name: set(keys) for name, keys in schema.items()})

    def test_values_are_those_of_the_archive(self):
        odd = os.fsdecode(b"t/\xff\"\n")
        self.write(odd, b"x" * 9000, 0o640, time_ns=-500_000_000)
        self.run_tool("create", "-C", "t", "a.lsa", odd[2:])
        (one,), told = self.run_json("list a.lsa")
        self.assertEqual(base64.b64decode(one["nameBase64"]), os.fsencode(odd[2:]))
        self.assertEqual((one["name"], one["size"], one["mode"], one["modified"], told),
                         ("\ufffd\"\n", 9000, 0o640, "1969-12-31T23:59:59.500000000Z", []))
        self.assertEqual((one["modifiedSeconds"], one["modifiedNanoseconds"]), (-1, 500_000_000))


class ListTest(ToolTest):
    def test_order_names_units_and_tree(self):
        for name, size, day in (("t/a/big", 20 << 20, 1), ("t/b", 1536, 3), ("t/a-c", 7, 2)):
            self.write(name, bytes(size), time_ns=day * 86400 * 10**9)
        self.run_tool("create", "a.lsa", "t/b", "t/a", "t/a-c")
        for arguments, expected in (("", "t/b t/a/big t/a-c"), ("--sort none", "t/b t/a/big t/a-c"),
                                    ("--sort name", "t/a-c t/a/big t/b"),
                                    ("--sort size", "t/a/big t/b t/a-c"),
                                    ("--sort time", "t/b t/a-c t/a/big"), ("t/b", "t/b"),
                                    ("--sort name t/b t/a", "t/a/big t/b")):
            output = self.run_tool("list", "a.lsa", *arguments.split())[0]
            self.assertEqual(output.decode().split(), expected.split(), arguments)
        self.run_tool("list", "a.lsa", "t/none", code=INCOMPLETE)
        sizes = [line.split()[1] for line in
                 self.run_tool("list", "-l", "--human", "a.lsa")[0].decode().splitlines()]
        self.assertEqual(sizes, ["1.5K", "20M", "7"])
        self.assertEqual(self.run_tool("list", "--tree", "--sort", "name", "a.lsa")[0].decode(),
                         "└── t/\n    ├── a-c\n    ├── a/\n    │   └── big\n    └── b\n")

    def test_sizes_have_units(self):
        self.write("f", b"x" * 3000)
        self.run_tool("create", "--reserve", "16K", "a.lsa", "f")
        self.assertIn(b"reserved size: 16384\n", self.run_tool("info", "a.lsa")[0])
        self.run_tool("extract", "--max-size", "2K", "--overwrite", "always", "a.lsa", code=BAD)
        self.run_tool("extract", "--max-size", "3K", "--overwrite", "always", "a.lsa")


if __name__ == "__main__":
    unittest.main()

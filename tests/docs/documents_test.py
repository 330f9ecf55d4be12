"""The documents against the tree that they are about."""

import pathlib
import re
import textwrap
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "docs").rglob("*.md"))]
FOLDER = "Larkspan/Common/IO"


def read(path):
    return path.read_text(encoding="utf-8")


def unindented(lines):
    return "\n".join(line.strip() for line in lines.splitlines())


class Documents(unittest.TestCase):
    def test_shown_code_is_code_that_the_examples_run(self):
        examples = unindented("\n".join(map(read, sorted((ROOT / "examples").glob("*.cpp")))))
        for document in DOCUMENTS:
            for block in re.findall(r"^ *```cpp\n(.*?)^ *```$", read(document), re.M | re.S):
                for passage in textwrap.dedent(block).strip().split("\n\n"):
                    with self.subTest(document.name):
                        self.assertTrue(unindented(passage) in examples, passage)

    def test_links_lead_to_files_of_the_tree(self):
        for document in DOCUMENTS:
            for target in re.findall(r"\]\(([^)#\s]+)[^)]*\)", read(document)):
                if not target.startswith("http"):
                    with self.subTest(document.name):
                        self.assertTrue((document.parent / target).exists(), target)

    def test_the_map_names_each_unit_of_the_folder_once_as_public_or_private(self):
        tour = read(ROOT / "docs" / "tour.md")
        table = tour.partition(f"| `{FOLDER}` | public | private |\n")[2].partition("\n\n")[0]
        columns = list(zip(*(row.split("|")[2:4] for row in table.splitlines()[1:])))
        mapped = [re.findall(r"`(\w+)`", " ".join(column)) for column in columns]
        self.assertEqual(len(mapped), 2, "the map is not where this test looks for it")

        listed = read(ROOT / "cmake" / "LarkspanPublicHeaders.cmake")
        public = set(re.findall(rf"{FOLDER}/(\w+)\.h", listed))
        units = {file.stem for file in (ROOT / FOLDER).iterdir() if file.suffix in (".h", ".cpp")}
        for column, expected in zip(mapped, (public, units - public)):
            self.assertEqual(set(column) ^ expected, set(), "to be added or removed")
            self.assertEqual(len(column), len(expected), "named twice")


if __name__ == "__main__":
    unittest.main()

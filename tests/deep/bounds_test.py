"""What the tool may take, whatever it is given: memory that does not grow with sizes and counts.
LARKSPAN_TOOL is the path of the program."""

import contextlib
import os
import pathlib
import resource
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tool"))
from archive_builder import entry, header  # noqa: E402

TOOL = os.path.abspath(os.environ["LARKSPAN_TOOL"])
MEASURE = os.path.abspath(os.environ["LARKSPAN_MEASURE"])
MIB = 1024  # in the kibibytes in which peaks are counted


def few_files():
    resource.setrlimit(resource.RLIMIT_NOFILE, (256, 256))


class Run:
    """One process of the tool, with what it took."""

    def __init__(self, *arguments, **options):
        self.took = tempfile.NamedTemporaryFile("r")
        self.process = subprocess.Popen([MEASURE, self.took.name, TOOL, *arguments], **options)

    def wait(self):
        self.code = self.process.wait()
        peak, seconds = self.took.read().split()
        self.peak, self.seconds = int(peak), float(seconds)
        self.took.close()
        return self


class BoundsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        # Deeper than Python removes.
        self.addCleanup(subprocess.run, ["rm", "-rf", self.folder], check=True)

    def run_tool(self, *arguments, **options):
        run = Run(*arguments, cwd=self.folder, stdout=subprocess.DEVNULL, **options).wait()
        self.assertEqual(run.code, 0, arguments)
        return run

    def write_archive(self, name, entries):
        with open(self.folder / name, "wb") as archive:
            archive.write(header())
            archive.writelines(entries)

    def test_five_gibibytes_go_through_pipes_in_16_mebibytes(self):
        with contextlib.ExitStack() as stack:
            zeros = stack.enter_context(subprocess.Popen(
                ["head", "-c", str(5 << 30), "/dev/zero"], stdout=subprocess.PIPE))
            create = Run("create", "-j", "1", "-", "-", stdin=zeros.stdout, stdout=subprocess.PIPE)
            zeros.stdout.close()
            verify = Run("verify", "-", stdin=create.process.stdout, stdout=subprocess.DEVNULL)
            create.process.stdout.close()
            runs = [create.wait(), verify.wait()]
        for run in runs:
            self.assertEqual(run.code, 0)
            self.assertLessEqual(run.peak, 16 * MIB)

    def test_a_million_entries_take_32_mebibytes_more_than_none(self):
        count = 1_000_000
        self.write_archive("none.lsa", [])
        self.write_archive("many.lsa",
                           (entry(f"{at // 1000}/{at}", b"x") for at in range(count)))
        for command in (["list"], ["verify"], ["extract", "-C", "out"]):
            start = self.run_tool(*command, "none.lsa").peak
            peak = self.run_tool(*command, "many.lsa").peak
            self.assertLessEqual(peak - start, 32 * MIB, command)
        self.assertEqual(sum(len(names) for _, _, names in os.walk(self.folder / "out")), count)

    def test_depth_costs_nothing_for_entries_that_stand_together(self):
        deep = "/".join(["d"] * 1000)
        self.write_archive("deep.lsa", (entry(f"{deep}/{at}", b"x") for at in range(3000)))
        self.write_archive("flat.lsa", (entry(f"d/{at}", b"x") for at in range(3000)))
        flat = self.run_tool("extract", "-C", "flat", "flat.lsa", preexec_fn=few_files).seconds
        deep_run = self.run_tool("extract", "-C", "deep", "deep.lsa", preexec_fn=few_files).seconds
        self.assertLessEqual(deep_run, 3 * flat + 1)


if __name__ == "__main__":
    unittest.main()

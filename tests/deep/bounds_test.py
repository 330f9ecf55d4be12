"""What the tool may take, whatever it is given: memory that does not grow with sizes and counts,
and time that a stranger's names can't multiply. LARKSPAN_TOOL is the path of the program."""

import contextlib
import os
import pathlib
import random
import resource
import shutil
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


class BlockPairs:
    """Names of which 2^18 have one value of the unkeyed hash of the C++ library (64-bit Murmur),
    whatever its seed and whatever equal text stands before them. A step mixes a block of 8 bytes
    and multiplies by an odd number: a flip of the highest bit of the mixed block goes through that
    unchanged, and the same flip in the next block takes it back."""

    UNITS = 4  # 16-bit units in a block
    MULTIPLIER = 0xC6A4A7935BD1E995
    MASK = (1 << 64) - 1
    FLIP = 1 << 63

    def __init__(self, colliding):
        self.random = random.Random(1)
        self.choices = [self._choice(colliding) for _ in range(18)]

    def _mix(self, block):
        block = block * self.MULTIPLIER & self.MASK
        return (block ^ block >> 47) * self.MULTIPLIER & self.MASK

    def _unmix(self, mixed):
        inverse = pow(self.MULTIPLIER, -1, 1 << 64)
        mixed = mixed * inverse & self.MASK
        return (mixed ^ mixed >> 47) * inverse & self.MASK

    def _pair(self):
        """Two blocks of legal characters whose mixed values differ in the highest bit alone."""
        while True:
            first = "".join(chr(self.random.randrange(0x100, 0xD800)) for _ in range(self.UNITS))
            block = int.from_bytes(first.encode("utf-16-le"), "little")
            flipped = self._unmix(self._mix(block) ^ self.FLIP).to_bytes(8, "little")
            units = [int.from_bytes(flipped[at:at + 2], "little") for at in range(0, 8, 2)]
            if all(0x100 <= unit < 0xD800 for unit in units):
                return first, "".join(map(chr, units))

    def _choice(self, colliding):
        (one, one_flipped), (two, two_flipped) = self._pair(), self._pair()
        return one + two, one_flipped + (two_flipped if colliding else two)

    def name(self, number):
        """Three path components of six choices each, with a whole block around each separator."""
        blocks = [choice[number >> bit & 1] for bit, choice in enumerate(self.choices)]
        return "/ppp".join("".join(blocks[at:at + 6]) for at in (0, 6, 12))


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

    def test_names_chosen_to_collide_cost_at_most_three_times_others(self):
        count = 200_000
        # A step of the hash must begin where the chosen blocks do.
        target_length = len(os.path.realpath(self.folder / "out")) + 1
        pad = "p" * (-target_length % BlockPairs.UNITS)
        seconds = {}
        for kind in ("colliding", "others"):
            pairs = BlockPairs(kind == "colliding")
            self.write_archive(kind, (entry(pad + pairs.name(at), b"") for at in range(count)))
            seconds[kind] = self.run_tool("extract", "-C", "out", kind).seconds
            shutil.rmtree(self.folder / "out")
        self.assertLessEqual(seconds["colliding"], 3 * seconds["others"], seconds)

    def test_depth_costs_nothing_for_entries_that_stand_together(self):
        deep = "/".join(["d"] * 1000)
        self.write_archive("deep.lsa", (entry(f"{deep}/{at}", b"x") for at in range(3000)))
        self.write_archive("flat.lsa", (entry(f"d/{at}", b"x") for at in range(3000)))
        flat = self.run_tool("extract", "-C", "flat", "flat.lsa", preexec_fn=few_files).seconds
        deep_run = self.run_tool("extract", "-C", "deep", "deep.lsa", preexec_fn=few_files).seconds
        self.assertLessEqual(deep_run, 3 * flat + 1)


if __name__ == "__main__":
    unittest.main()

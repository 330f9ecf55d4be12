// Archives that were changed on the way, and archives and folders made to lead astray. Sampled
// unless exhaustive proofs are wanted: every so many bytes, from another one on each time.

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "foundation/Vx/VxException.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/proof/Trial.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/SeededRandom.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveEnd;
using Larkspan::Common::IO::ArchiveFile;
using State = ArchiveEnd::State;

// Hands mutations of each byte `step` bytes apart to `work`, and every removal, repetition and swap
// of whole entries. `starts`: the offset of each entry, and of what follows the last.
template <class Work>
void ForEachMutation(const std::string& bytes, const std::vector<std::size_t>& starts,
                     std::size_t first, std::size_t step, Work work) {
  for (std::size_t at = first; at < bytes.size(); at += step) {
    const std::string before = bytes.substr(0, at);
    // Every other value, or each bit.
    for (int change = 1; change < 256; change = IsDeep() ? change + 1 : 2 * change) {
      work(before + static_cast<char>(bytes[at] ^ change) + bytes.substr(at + 1));
    }
    work(before);
    for (const std::size_t size : {1U, 2U, 4U, 16U}) {
      if (at + size <= bytes.size()) work(before + bytes.substr(at + size));
      work(before + bytes.substr(at, size) + bytes.substr(at));
    }
    for (const char inserted : {'\0', '\xFF'}) work(before + inserted + bytes.substr(at));
  }
  for (const std::size_t size : {1U, 42U, 70000U}) {
    work(bytes + std::string(size, '\0'));
    work(bytes + std::string(size, 'z'));
  }
  work(bytes + bytes);
  work(bytes + bytes.substr(starts.back()));
  const std::string header = bytes.substr(0, starts.front());
  std::vector<std::string> parts;
  for (std::size_t one = 0; one + 1 < starts.size(); ++one) {
    parts.push_back(bytes.substr(starts[one], starts[one + 1] - starts[one]));
  }
  const auto join = [&](const std::vector<std::string>& entries) {
    std::string joined = header;
    for (const std::string& entry : entries) joined += entry;
    work(joined + bytes.substr(starts.back()));
  };
  for (std::size_t one = 0; one < parts.size(); ++one) {
    std::vector<std::string> fewer = parts;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(one));
    join(fewer);
    for (std::size_t other = 0; other < parts.size(); ++other) {
      std::vector<std::string> changed = parts;
      changed.insert(changed.begin() + static_cast<std::ptrdiff_t>(other), parts[one]);
      join(changed);
      changed = parts;
      std::swap(changed[one], changed[other]);
      join(changed);
    }
  }
}

// Archives of each kind.
std::vector<SampleArchive> MakeArchives() {
  SampleArchive small{0, {}, {}};
  for (int n = 0; n < 20; ++n)
    small.entries.push_back({std::to_string(n), n % 2 == 0 ? 1U : 2U, {}, "data"});
  return {MakeSample(0), MakeSample(256), small, {0, {{"h", "v"}}, {}}};
}

// Whether a reader is told that something is wrong. Where no seal is promised, that means that it
// is not taken for an archive that was never sealed.
bool IsNoticed(const ReadResult& result) {
  return !result.failure.empty() || result.end.IsDamaged() ||
         result.end.state == State::TrailingBytes || result.end.state == State::EndsInHeader;
}

// Tries every mutation of `bytes`. Gives the number of those that go unnoticed.
std::size_t CountUnnoticed(const std::string& bytes, const std::vector<std::size_t>& starts) {
  SeededRandom random;
  const std::size_t step = IsDeep() ? 1 : 7;
  const ReadResult whole = ReadArchive(bytes);
  std::size_t unnoticed = 0;
  ForEachMutation(bytes, starts, random.Below(step), step, [&](const std::string& mutation) {
    CountPoint("mutations");
    // Throws a `std::logic_error` where what was verified is wrong.
    const ReadResult result = ReadArchive(mutation);
    PiecewiseInput pieces(mutation, mutation.size() % 9 + 1);
    const ReadResult inPieces = ReadArchive(pieces);
    // How many bytes behind the end of its stream an entry's compressed size counts depends on how
    // they come.
    const auto countsMore = [](const ReadResult& read) {
      return read.failure.find("entry archived size check failed") != std::string::npos;
    };
    EXPECT_TRUE(inPieces == result || countsMore(inPieces) || countsMore(result));
    if (IsNoticed(result) || mutation == bytes) return;
    // Some changes of a compressed stream change nothing of what it stands for.
    unnoticed += result.end == whole.end && result.archive == whole.archive ? 0U : 1U;
  });
  return unnoticed;
}

TEST(ProofOfMutations, NoneGoesUnnoticedOnSealedArchives) {
  for (const SampleArchive& archive : MakeArchives()) {
    std::vector<std::size_t> starts;
    const std::string bytes = ToSealedBytes(archive, &starts);
    EXPECT_EQ(CountUnnoticed(bytes, starts), 0U);
  }
}

// Without a seal readers keep their footing, and the control: there is much to go unnoticed.
TEST(ProofOfMutations, VerifiedDataIsRightOnUnsealedArchives) {
  std::size_t unnoticed = 0;
  for (const SampleArchive& archive : MakeArchives()) {
    std::vector<std::size_t> starts;
    SampleArchive part = archive;
    for (part.entries.clear();; part.entries.push_back(archive.entries[part.entries.size()])) {
      starts.push_back(ToBytes(part).size());
      if (part.entries.size() == archive.entries.size()) break;
    }
    unnoticed += CountUnnoticed(ToBytes(archive), starts);
  }
  EXPECT_GT(unnoticed, 0U);
}

// A change of the headers never makes a damaged archive look whole.
TEST(ProofOfMutations, NoneIsCoveredUpByAChange) {
  const Stage stage;
  const PretendedCalls freeSyncs(CallSync | CallSyncData);
  SeededRandom random;
  for (const unsigned int size : {50U, 1000U}) {  // in place, and by a rewrite
    std::vector<std::size_t> starts;
    const std::string bytes = ToSealedBytes(MakeSample(256), &starts);
    const std::size_t step = IsDeep() ? 5 : 100;
    ForEachMutation(bytes, starts, random.Below(step), step, [&](const std::string& mutation) {
      const ReadResult before = ReadArchive(mutation);
      // Whoever changes headers vouches for all of them, whatever they were before.
      const bool isInHeaders = before.end.state == State::SealedRight;
      // A room of gigabytes is written as it is claimed, and takes too long here.
      const bool isLarge = before.archive.reserved > 0x100000;
      if (!IsNoticed(before) || isInHeaders || isLarge) return;
      CountPoint("changes of damaged archives");
      stage.folder.Write("f", mutation);
      const std::exception_ptr failure = Catch([&] {
        ArchiveFile file(stage.file);
        file.PutHeader(u"h", Vx::UniString::FromUTF8(std::string(size, 'v')));
        file.Update();
      });
      const std::string content = stage.folder.Read("f");
      if (failure) {
        EXPECT_TRUE(content == mutation) << Describe(failure).failure;
      } else {
        EXPECT_TRUE(IsNoticed(ReadArchive(content)));
      }
      EXPECT_EQ(stage.Look().size(), 1U);
    });
  }
}

// Names of parts that mean something to some system, with links that are planted in the target.
std::string MakeHostileName(SeededRandom& random) {
  static const std::string parts[] = {"..",
                                      ".",
                                      "",
                                      "a",
                                      "link",
                                      "file",
                                      "loop",
                                      "up",
                                      "C:",
                                      "C:..",
                                      "a\xC0\x80z",
                                      "~",
                                      "con",
                                      "a:b",
                                      "...",
                                      ".. ",
                                      "\xE2\x80\xAE",
                                      std::string(300, 'n'),
                                      std::string(255, 'n'),
                                      "proc"};
  std::string name;
  for (unsigned int count = 1 + random.Below(5); count > 0; --count) {
    name += parts[random.Below(std::size(parts))];
    if (count > 1 || random.OneIn(4)) name += random.OneIn(3) ? '\\' : '/';
  }
  return name.empty() ? "/" : name;
}

TEST(ProofOfNames, NothingIsWrittenOutsideTheTarget) {
  SeededRandom random;
  const Stage stage;
  const std::filesystem::path& root = stage.folder.GetPath();
  std::size_t extracted = 0;
  for (int round = 0; round < (IsDeep() ? 5000 : 200); ++round) {
    const std::string name = MakeHostileName(random);
    SCOPED_TRACE(name);
    stage.Clear();
    stage.Write("f", ToBytes({0, {}, {{name, 2, {}, "hostile"}}}));
    stage.Write("victim", "mine");
    stage.Write("outside/victim", "mine");
    std::filesystem::create_directory(root / "out");
    std::filesystem::create_directory_symlink("../outside", root / "out/link");
    std::filesystem::create_symlink("../victim", root / "out/file");
    std::filesystem::create_symlink("loop", root / "out/loop");
    std::filesystem::create_directory_symlink("..", root / "out/up");
    const Tree before = stage.Look();
    const Outcome outcome = Describe(Catch([&] { ArchiveFile(stage.file).ExtractTo(stage.out); }));
    EXPECT_FALSE(outcome.wrongResult) << outcome.failure;
    Tree tree = stage.Look();
    const std::size_t gained = std::erase_if(tree, [&](const auto& item) {
      return item.second == "hostile" && item.first.starts_with("out/");
    });
    EXPECT_TRUE(tree == before) << Print(tree);
    EXPECT_EQ(gained, outcome.failure.empty() ? 1U : 0U) << outcome.failure;
    extracted += gained;
    CountPoint("hostile names");
  }
  // The control: some of the names are harmless.
  EXPECT_GT(extracted, 0U);
}

}  // namespace
}  // namespace Tests

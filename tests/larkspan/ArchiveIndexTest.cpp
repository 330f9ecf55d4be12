#include <algorithm>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Archive/ArchiveIndex.h"
#include "Larkspan/Archive/ParallelReader.h"
#include "Larkspan/Archive/ParallelWriter.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/MemoryStore.h"
#include "tests/support/Noise.h"
#include "tests/support/RecordingOutput.h"
#include "tests/support/SeededRandom.h"

namespace {

using namespace Larkspan::Common::IO;
using namespace Larkspan::Archive;
using namespace Tests;

// The entries that come, each with its data or what it failed with.
std::vector<std::string> Collect(ParallelReader& reader) {
  std::vector<std::string> results;
  while (const auto entry = reader.Next()) {
    std::string text = entry->GetName().ToUTF8() + ": ";
    const std::string failure = FailureOf([&] {
      for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
        text += chunk;
      }
    });
    results.push_back(failure.empty() ? text : entry->GetName().ToUTF8() + " failed: " + failure);
  }
  return results;
}

// Short entries, a long one of blocks and a long one of a single stream, sealed.
std::string MakeArchive(std::vector<std::string>& data) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 256);
  archive.PutHeader(Vx::UniString(u"title"), Vx::UniString(u"sample"));
  archive.PromiseSeal();
  ParallelWriter writer(archive, 1);
  for (unsigned int index = 0; index < 40; ++index) {
    data.push_back(Noise(index * 7, index) + std::string(index * 100, 'r'));
  }
  data.push_back(Noise(100000, 5) + std::string(2200000, 'b') + Noise(1200000, 6));
  const ArchiveHeaders none(0, 0);
  for (std::size_t index = 0; index < data.size(); ++index) {
    Vx::MemoryIBinaryChannel source(data[index].data(),
                                    static_cast<unsigned int>(data[index].size()));
    writer.Add(Vx::UniString::FromUTF8("e" + std::to_string(index % 40)), none,
               index % 5 == 4 ? ArchiveEntry::Stored : ArchiveEntry::Deflated, source);
  }
  writer.Finish();
  data.push_back(std::string(1500000, 's') + Noise(50000, 9));
  WriteEntry(archive, {"stream", ArchiveEntry::Deflated, {{"k", "v"}}, data.back()});
  archive.WriteSeal();
  return sink.content;
}

std::vector<std::size_t> AllNumbers(const ArchiveIndex& index) {
  std::vector<std::size_t> numbers(index.GetEntryCount());
  std::iota(numbers.begin(), numbers.end(), 0U);
  return numbers;
}

std::vector<std::string> ReadAll(const ArchiveIndex& index, unsigned int jobs) {
  ParallelReader reader(index, jobs, AllNumbers(index));
  return Collect(reader);
}

// The same by one channel after the other.
std::vector<std::string> ReadOneByOne(const ArchiveIndex& index) {
  std::vector<std::string> results;
  for (const std::size_t number : AllNumbers(index)) {
    const std::string name = index.GetName(number).ToUTF8();
    std::string data;
    const std::string failure = FailureOf([&] { data = ReadRest(*index.OpenEntry(number), 5000); });
    results.push_back(failure.empty() ? name + ": " + data : name + " failed: " + failure);
  }
  return results;
}

TEST(ArchiveIndex, EntriesOpenByNumberAndNameFromSeveralThreads) {
  std::vector<std::string> data;
  const MemoryStore store(MakeArchive(data));
  const ArchiveIndex index(store);
  ASSERT_EQ(index.GetEntryCount(), data.size());
  EXPECT_EQ(index.GetEnd().state, ArchiveEnd::State::SealedRight);
  EXPECT_EQ(index.GetHeaders().GetValue(Vx::UniString(u"title")), Vx::UniString(u"sample"));
  EXPECT_EQ(index.Find(Vx::UniString(u"e0")), 40U);
  EXPECT_EQ(index.Find(Vx::UniString(u"nothing")), std::nullopt);
  EXPECT_EQ(TakePairs(*index.GetEntry(41)), (Pairs{{"k", "v"}}));
  EXPECT_FALSE(index.GetEntry(41)->IsVerified());
  const auto work = [&] {
    for (std::size_t number = data.size(); number-- > 0;) {
      EXPECT_TRUE(ReadRest(*index.OpenEntry(number), 70000) == data[number]) << number;
      EXPECT_EQ(index.GetEntry(number)->GetSize(), data[number].size());
    }
  };
  std::thread other(work);
  work();
  other.join();
  const std::string refusal = "IllegalArgumentException: Invalid archive entry number.";
  EXPECT_EQ(FailureOf([&] { return index.GetEntry(42); }), refusal);
  EXPECT_EQ(FailureOf([&] { return index.OpenEntry(42); }), refusal);
  EXPECT_NE(FailureOf([&] { ParallelReader(store, 0); }), "");
}

TEST(ArchiveIndex, RangesAreReadWithoutWhatIsBeforeThem) {
  std::vector<std::string> data;
  const MemoryStore store(MakeArchive(data));
  const ArchiveIndex index(store);
  SeededRandom random;
  for (int round = 0; round < 60; ++round) {
    const std::size_t number = round % 3 == 0 ? random.Below(40) : 40 + random.Below(2);
    const std::size_t offset = random.Below(data[number].size() + 10);
    std::string range(random.Below(1500000), '\0');
    range.resize(
        index.ReadRange(number, offset, range.data(), static_cast<unsigned int>(range.size())));
    const std::string expected =
        offset < data[number].size() ? data[number].substr(offset, range.size()) : "";
    EXPECT_TRUE(range == expected) << number << " from " << offset;
  }
}

TEST(ArchiveIndex, WhatIsSavedLoadsForThisArchiveAlone) {
  std::vector<std::string> data;
  std::string bytes = MakeArchive(data);
  const MemoryStore store(bytes);
  const ArchiveIndex index(store);
  RecordingOutput saved;
  index.Save(saved);
  const auto load = [](const RandomInput& archive, const std::string& text) {
    Vx::MemoryIBinaryChannel channel(text.data(), static_cast<unsigned int>(text.size()));
    return ArchiveIndex(archive, channel).GetEntryCount();
  };
  EXPECT_EQ(load(store, saved.content), data.size());
  const std::string foreign =
      "ArchiveException: Failed to use archive index: it is not the index of this archive.";
  for (const std::size_t change : {20UL, bytes.size() - 10}) {
    std::string other = bytes;
    other[change] ^= 1;
    EXPECT_EQ(FailureOf([&] { return load(MemoryStore(other), saved.content); }), foreign);
  }
  EXPECT_EQ(FailureOf([&] { return load(MemoryStore(bytes + '\0'), saved.content); }), foreign);
  for (std::size_t place = 0; place < saved.content.size(); ++place) {
    std::string damaged = saved.content;
    damaged[place] ^= 0x41;
    EXPECT_NE(FailureOf([&] { return load(store, damaged); }), "") << place;
    EXPECT_NE(FailureOf([&] { return load(store, saved.content.substr(0, place)); }), "") << place;
  }
  // A changed entry is told by its data.
  bytes[bytes.size() / 2] ^= 1;
  const MemoryStore changed(bytes);
  Vx::MemoryIBinaryChannel channel(saved.content.data(),
                                   static_cast<unsigned int>(saved.content.size()));
  const ArchiveIndex stale(changed, channel);
  const auto results = ReadAll(stale, 1);
  EXPECT_EQ(std::ranges::count_if(results, [](const auto& r) { return r.find(" failed: ") < 5; }),
            1);
}

// What threads gave is what streams give. Damage in a code that no data uses may be a failure to
// the one engine and nothing to the other, as long as the data is right.
bool AreAlike(const std::vector<std::string>& results, const std::vector<std::string>& streamed,
              const std::vector<std::string>& data) {
  if (results.size() != streamed.size()) return false;
  for (std::size_t number = 0; number < results.size(); ++number) {
    const bool isWhole = number < data.size() && results[number].ends_with(": " + data[number]);
    if (results[number] != streamed[number] && !isWhole) return false;
  }
  return true;
}

TEST(ParallelReader, WhatComesOutIsWhatStreamsGiveAlsoOfDamagedArchives) {
  std::vector<std::string> data;
  const std::string bytes = MakeArchive(data);
  SeededRandom random;
  for (int round = 0; round < 40; ++round) {
    std::string damaged = bytes;
    // The first round has no damage.
    for (int flip = 0; flip < 3 && round > 0; ++flip) {
      const bool early = random.OneIn(2);
      const std::size_t place = 300 + random.Below((early ? 60000 : damaged.size()) - 300);
      damaged[place] ^= static_cast<char>(1 << random.Below(8));
    }
    const MemoryStore store(damaged);
    std::optional<ArchiveIndex> index;
    const std::string failure = FailureOf([&] { index.emplace(store); });
    const auto readInOnePass = [&](unsigned int jobs) {
      ParallelReader reader(store, jobs);
      std::vector<std::string> results;
      EXPECT_EQ(FailureOf([&] { results = Collect(reader); }), failure);
      EXPECT_TRUE(!index || reader.GetEnd() == index->GetEnd());
      return results;
    };
    if (!index) {
      EXPECT_TRUE(readInOnePass(1) == readInOnePass(8));
      continue;
    }
    const std::vector<std::string> expected = ReadOneByOne(*index);
    for (const unsigned int jobs : {1U, 8U}) {
      EXPECT_TRUE(AreAlike(ReadAll(*index, jobs), expected, data));
      EXPECT_TRUE(AreAlike(readInOnePass(jobs), expected, data));
    }
    if (round > 0) continue;
    for (std::size_t number = 0; number < data.size(); ++number) {
      EXPECT_TRUE(expected[number].ends_with(": " + data[number])) << number;
    }
  }
}

}  // namespace

#include "Larkspan/Archive/ArchiveChange.h"
#include "tests/larkspan/ArchiveFolder.h"

namespace Tests {
namespace {

using namespace Larkspan::Archive;
using Larkspan::Common::IO::ArchiveHeaders;
using Larkspan::Common::IO::ArchiveOBinaryChannel;

const Pairs Link = {{"type", "hardlink"}};
const Pairs Mode = {{"mode", "0640"}};
const std::string Text(5000, 't');

class ArchiveChanges : public ArchiveFolder {
 protected:
  void Expect(const std::string& content) const {
    EXPECT_TRUE(folder.Read("a.lsa") == content);
    EXPECT_EQ(folder.GetNames(), std::vector<std::string>{"a.lsa"});
  }
};

// Puts archives together entry by entry, and compares the bytes of the whole.
TEST_F(ArchiveChanges, WhatRefersToOtherEntriesIsFollowedUp) {
  const Pairs inD = {{"folder:d", "0700"}};
  Pairs modeInD = Mode;
  modeInD.insert(modeInD.end(), inD.begin(), inD.end());
  const SampleEntry file{"f", 1, Mode, Text};
  const SampleEntry links[] = {{"d/1", 2, Link, "f"}, {"d/2", 2, Link, "d/1"}, {"e", 2, Link, "f"}};
  const SampleEntry other{"d/other", 2, inD, "o"};
  const SampleArchive before{256, {{"h", "v"}}, {file, other, links[0], links[1], links[2]}};
  const struct {
    const char* name;
    std::vector<std::size_t> dropped;
    SampleArchive after;
  } rows[] = {
      {"nothing", {}, before},
      {"a link", {2}, {256, before.headers, {file, other, {"d/2", 2, Link, "f"}, links[2]}}},
      {"the file",
       {0},
       {256, before.headers, {other, {"d/1", 1, Mode, Text}, links[1], {"e", 2, Link, "d/1"}}}},
      {"the file and what tells of the folder",
       {0, 1},
       {256, before.headers, {{"d/1", 1, modeInD, Text}, links[1], {"e", 2, Link, "d/1"}}}},
      {"all below the folder",
       {1, 2, 3},
       {256, {{"h", "v"}, {"folder:d", "0700"}}, {file, links[2]}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    folder.Write("a.lsa", ToSealedBytes(before));
    ArchiveChange change(location);
    for (const std::size_t number : row.dropped) change.GetEntries().Drop(number);
    EXPECT_EQ(change.Commit().isRewritten, !row.dropped.empty());
    Expect(ToSealedBytes(row.after));
  }
}

TEST_F(ArchiveChanges, NamesHeadersAndNewEntriesAreWrittenAndTheRestIsTheSame) {
  SampleArchive expected = MakeSample(256);
  folder.Write("a.lsa", ToBytes(expected));
  ArchiveChange change(location);
  change.PutHeader(u"author", Vx::UniString::FromUTF8(std::string(300, 'x')));
  change.ClearHeader(u"empty");
  EXPECT_TRUE(change.NeedsRewrite());
  ArchiveHeaders headers;
  headers.Put(u"mode", u"0640");
  change.GetEntries().Put(1, u"another name", headers);
  unsigned __int64 copied = 0;
  const unsigned __int64 size = change.GetEntries().GetArchivedSize();
  const auto result =
      change.Commit({.jobs = 2, .progress = [&](unsigned int count) { copied += count; }},
                    [](ArchiveOBinaryChannel& archive) {
                      WriteEntry(archive, {"f", 1, Mode, Text});
                    });
  EXPECT_EQ(copied, size);
  EXPECT_EQ(result.reservedHeaderSize, 512U);
  expected.reserved = 512;
  expected.headers = {{"author", std::string(300, 'x')}};
  expected.entries[1].name = "another name";
  expected.entries[1].headers = Mode;
  expected.entries.push_back({"f", 1, Mode, Text});
  Expect(ToBytes(expected));
  // The object goes on with what it has written, in place where it fits.
  change.PutHeader(u"author", u"Ada");
  EXPECT_FALSE(change.Commit().isRewritten);
  expected.headers = {{"author", "Ada"}};
  Expect(ToBytes(expected));
  EXPECT_EQ(change.GetIndex().GetEntryCount(), expected.entries.size());
}

TEST_F(ArchiveChanges, ArchiveIsAsItWasWhereEntriesCouldBeLostOrTheWorkIsStopped) {
  const std::string plain = ToBytes(MakeSample(256));
  const std::string sealed = ToSealedBytes(MakeSample(256));
  std::string wrongSeal = sealed;
  wrongSeal[wrongSeal.size() - 20] ^= 1;
  std::string damaged = plain;
  damaged[plain.find("stored words")] ^= 1;
  const std::string failed = "ArchiveException: Failed to update archive file: ";
  const std::pair<std::string, std::string> rows[] = {
      {plain + std::string("\0\5cut", 5), failed + "it does not end behind its last entry."},
      {sealed.substr(0, sealed.size() - 42), failed + "its seal is missing or wrong."},
      {wrongSeal, failed + "its seal is missing or wrong."},
      {damaged, "ArchiveException: Failed to read archive entry: entry crc check failed."},
      {plain, "IOException: stopped"}};
  for (const auto& [bytes, failure] : rows) {
    folder.Write("a.lsa", bytes);
    ArchiveChange change(location);
    change.GetEntries().Drop(4);
    const auto stop = [stops = failure.ends_with("stopped")](unsigned int) {
      if (stops) throw Vx::IOException("stopped", __FILE__, __LINE__);
    };
    EXPECT_EQ(FailureOf([&] { change.Commit({.progress = stop}); }), failure);
    Expect(bytes);
  }
  // The same object can try again, and damage that is known is copied.
  folder.Write("a.lsa", damaged);
  ArchiveChange change(location);
  change.GetEntries().Drop(4);
  EXPECT_NE(FailureOf([&] { change.Commit(); }), "");
  change.Commit({.check = CopyCheck::Trust});
  SampleArchive expected = MakeSample(256);
  expected.entries.pop_back();
  std::string rest = ToBytes(expected);
  rest[rest.find("stored words")] ^= 1;
  Expect(rest);
}

}  // namespace
}  // namespace Tests

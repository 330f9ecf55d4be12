#include <cerrno>
#include <cstddef>
#include <functional>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Archive/ParallelReader.h"
#include "Larkspan/Archive/ParallelWriter.h"
#include "foundation/IO/Processors.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/MemoryStore.h"
#include "tests/support/Noise.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace {

using namespace Larkspan::Common::IO;
using namespace Tests;
using Larkspan::Archive::ParallelReader;
using Larkspan::Archive::ParallelWriter;

// Text whose blocks all differ.
std::string MakeText(std::size_t size) {
  std::string text;
  for (std::size_t line = size; text.size() < size; ++line)
    text += std::to_string(line) + " of it\n";
  text.resize(size);
  return text;
}

std::vector<SampleEntry> MakeEntries() {
  constexpr std::size_t MiB = 0x100000;
  std::vector<SampleEntry> entries;
  for (const std::size_t size : {0UL, 1UL, 1000UL, MiB - 1, MiB, MiB + 1, 2 * MiB, 3500000UL}) {
    const std::string name = std::to_string(size);
    entries.push_back({"deflated/" + name, ArchiveEntry::Deflated, {{"n", name}}, MakeText(size)});
    entries.push_back({"stored/" + name, ArchiveEntry::Stored, {}, MakeText(size)});
    entries.push_back({"noise/" + name, ArchiveEntry::Deflated, {}, Noise(size)});
    for (int index = 0; index < 40; ++index) {
      entries.push_back({"short/" + std::to_string(index),
                         ArchiveEntry::Deflated,
                         {},
                         MakeText(size % 1000 + static_cast<unsigned int>(index))});
    }
  }
  return entries;
}

void Add(ParallelWriter& writer, const SampleEntry& entry, Vx::IBinaryChannel& source) {
  ArchiveHeaders headers(0, 0);
  for (const auto& [name, value] : entry.headers) {
    headers.Put(Vx::UniString::FromUTF8(name), Vx::UniString::FromUTF8(value));
  }
  writer.Add(Vx::UniString::FromUTF8(entry.name), headers,
             static_cast<ArchiveEntry::Method>(entry.method), source);
}

std::string WriteArchive(const std::vector<SampleEntry>& entries, unsigned int jobs,
                         std::size_t piece) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  ParallelWriter writer(archive, jobs);
  for (const SampleEntry& entry : entries) {
    PiecewiseInput source(entry.data, piece);
    Add(writer, entry, source);
  }
  writer.Finish();
  archive.Flush();
  return sink.content;
}

TEST(ParallelWriter, BytesDependOnTheEntriesAloneAndAnyReaderReadsThem) {
  const std::vector<SampleEntry> entries = MakeEntries();
  const std::string bytes = WriteArchive(entries, 1, std::string::npos);
  const ReadResult read = ReadArchive(bytes, 0x10000);
  EXPECT_EQ(read.failure, "");
  ASSERT_TRUE(read.archive.entries == entries);
  for (const unsigned int jobs : {2U, 3U, 8U}) {
    EXPECT_TRUE(WriteArchive(entries, jobs, 70000) == bytes) << jobs;
  }
  EXPECT_GE(IO::GetProcessorCount(), 1U);
}

// Runs `work` in a process to which the system gives no thread. False also where one starts.
bool WorksWithoutThreads(const std::function<bool()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    sock_filter rules[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone3, 1, 0),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program = {std::size(rules), rules};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    bool refused = ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
    try {
      std::thread([] {}).join();
      refused = false;
    } catch (const std::system_error&) {
    }
    ::_exit(refused && work() ? 0 : 1);
  }
  int result = -1;
  ::waitpid(child, &result, 0);
  return result == 0;
}

TEST(ParallelWriter, WorksWhereNoThreadCanBeStarted) {
  std::vector<SampleEntry> entries = MakeEntries();
  const std::string bytes = WriteArchive(entries, 1, std::string::npos);
  EXPECT_TRUE(WorksWithoutThreads([&] { return WriteArchive(entries, 4, 70000) == bytes; }));
  EXPECT_TRUE(WorksWithoutThreads([&] {
    const MemoryStore store(bytes);
    ParallelReader reader(store, 4);
    std::size_t count = 0;
    while (reader.Next()) {
      std::string data;
      for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
        data += chunk;
      }
      if (data != entries[count++].data) return false;
    }
    return count == entries.size();
  }));
}

TEST(ParallelWriter, FailuresComeUpInTheCallsThatSaySo) {
  const Vx::UniString name(u"a");
  const ArchiveHeaders none(0, 0);
  for (const unsigned int jobs : {1U, 2U}) {
    RecordingOutput sink;
    ArchiveOBinaryChannel archive(sink, 0);
    ParallelWriter writer(archive, jobs);
    const auto add = [&](std::size_t size, std::size_t breakAt) {
      PiecewiseInput source(MakeText(size), std::string::npos, breakAt);
      writer.Add(name, none, ArchiveEntry::Deflated, source);
    };
    const std::string broken = "IOException: The source is broken.";
    const std::string damaged =
        "ArchiveException: Archive can't be continued, an earlier entry failed.";
    EXPECT_NE(FailureOf([&] { ParallelWriter(archive, 0); }), "");
    EXPECT_EQ(FailureOf([&] { add(10, 5); }), broken);
    EXPECT_EQ(FailureOf([&] { add(2000000, 0x100000 - 1); }), broken);
    add(3000, 9999);
    writer.Finish();
    // What failed early left nothing behind.
    EXPECT_EQ(ReadArchive(sink.content).archive.entries.size(), 1U);
    EXPECT_EQ(FailureOf([&] { add(3000000, 2500000); }), broken);
    EXPECT_EQ(FailureOf([&] { add(10, 99); }), damaged);
    EXPECT_EQ(FailureOf([&] { writer.Finish(); }), damaged);
  }
}

}  // namespace

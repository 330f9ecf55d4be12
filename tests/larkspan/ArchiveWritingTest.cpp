#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/ExpectFailures.h"
#include "tests/support/RecordingOutput.h"

namespace {

using Larkspan::Common::IO::ArchiveEntry;
using Larkspan::Common::IO::ArchiveHeaders;
using Larkspan::Common::IO::ArchiveOBinaryChannel;
using Vx::UniString;
using namespace Tests;

TEST(ArchiveWriting, WholeSampleComesOutAsPutTogetherByHand) {
  for (const unsigned int reserved : {0U, 256U}) {
    const SampleArchive sample = MakeSample(reserved);
    RecordingOutput sink;
    ArchiveOBinaryChannel archive(sink, reserved);
    archive.PutHeader(u"author", u"keeps its place");
    PutHeaders(archive, sample);
    for (const SampleEntry& entry : sample.entries) WriteEntry(archive, entry);
    archive.CloseEntry();
    archive.Close();
    EXPECT_EQ(sink.content, ToBytes(sample)) << reserved;
  }
}

TEST(ArchiveWriting, DataIsFramedByChunkAndFlush) {
  constexpr unsigned int chunk = 262144;
  const std::string data(chunk + 1, 'd');
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  archive.PutNextEntry(u"a", ArchiveEntry::Stored);
  archive.Write("abc", 3);
  for (int again = 0; again < 2; ++again) {  // an empty frame would be the end
    archive.Flush();
    archive.Write("", 0);
  }
  archive.Write(data.data(), chunk + 1);
  archive.Close();
  ByteBuilder expected = HeaderBytes();
  expected.Utf("a").U32(2).U32(0).U32(3).Raw("abc").U32(chunk).Raw(data.substr(1));
  EXPECT_EQ(sink.content, std::string(expected));
}

TEST(ArchiveWriting, WhatAStateDoesNotAllowIsRefused) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  ArchiveHeaders unnamed;
  unnamed.Put(u"", u"value");
  ArchiveOBinaryChannel full(sink, 256);
  full.PutHeader(u"n", UniString::FromUTF8(std::string(257 - 36, 'v')));  // 36 bytes are around it
  const std::string closed = "IOException: Archive binary output channel is closed.";
  const std::string invalid = "IllegalArgumentException: Invalid ";
  ExpectFailures({
      {[&] { full.Flush(); },
       "ArchiveException: Failed to write archive header: archive header size exceeds the "
       "specified header size."},
      {[&] { archive.Flush(); }, ""},
      {[&] { archive.PutHeader(u"n", u"v"); },
       "ArchiveException: Archive headers can't be updated, header has already been written."},
      {[&] { archive.Write("", 0); }, "ArchiveException: Archive entry hasn't been started yet."},
      {[&] { archive.Close(); }, ""},
      {[&] { archive.PutHeader(u"n", u"v"); }, closed},
      {[&] { archive.PutNextEntry(u"e"); }, closed},
      {[&] { archive.Flush(); }, closed},
      {[&] { archive.PutHeader(u"", u"v"); }, invalid + "archive header name: name is empty."},
      {[&] { archive.PutNextEntry(u""); }, invalid + "archive entry name: name is empty."},
      {[&] { archive.PutNextEntry(u"e", unnamed); },
       invalid + "archive entry headers: headers contains header with empty name."},
      {[&] { archive.SetMethod(ArchiveEntry::Default); },
       invalid + "default archive entry compression method."},
  });
}

}  // namespace

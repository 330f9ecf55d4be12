#include "tests/larkspan/ArchiveSample.h"

#include <zlib.h>

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/Compress.h"
#include "tests/support/Noise.h"
#include "tests/support/RecordingOutput.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveOBinaryChannel;
using Vx::UniString;
using enum Larkspan::Common::IO::ArchiveEntry::Method;

void AppendPairs(ByteBuilder& bytes, const Pairs& pairs) {
  for (const auto& [name, value] : pairs) bytes.Utf(name).Utf(value);
}

void AppendEntry(ByteBuilder& bytes, const SampleEntry& entry) {
  bytes.Utf(entry.name).U32(entry.method);
  bytes.U32(entry.headers.size());
  AppendPairs(bytes, entry.headers);
  const std::string archived = entry.method == Deflated ? Compress(entry.data) : entry.data;
  if (!archived.empty()) bytes.U32(archived.size()).Raw(archived);
  bytes.U32(0).U64(archived.size()).U64(entry.data.size());
  bytes.U32(SumOf(entry.data));
}

}  // namespace

SampleArchive MakeSample(unsigned int reserved) {
  return {reserved,
          {{"author", "Ada"}, {"empty", ""}},
          {{"stored.txt", Stored, {}, "stored words"},
           {"deflated.txt", Deflated, {{"kind", "t\xC3\xA9xt"}, {"e", ""}}, std::string(9000, 'z')},
           {"empty", Stored, {}, ""},
           {"empty too", Deflated, {}, ""},
           {"noise", Deflated, {{"kind", "noise"}}, Noise(500)}}};
}

std::string ToBytes(const SampleArchive& archive) {
  ByteBuilder bytes =
      HeaderBytes(archive.reserved, static_cast<unsigned int>(archive.headers.size()));
  AppendPairs(bytes, archive.headers);
  if (archive.reserved != 0) bytes.FillTo(archive.reserved);
  for (const SampleEntry& entry : archive.entries) AppendEntry(bytes, entry);
  return bytes;
}

std::string ToSealedBytes(const SampleArchive& archive, std::vector<std::size_t>* starts) {
  RecordingOutput output;
  ArchiveOBinaryChannel channel(output, archive.reserved);
  channel.PromiseSeal();
  PutHeaders(channel, archive);
  channel.Flush();
  for (const SampleEntry& entry : archive.entries) {
    if (starts) starts->push_back(output.content.size());
    WriteEntry(channel, entry);
    channel.CloseEntry();
  }
  if (starts) starts->push_back(output.content.size());
  channel.WriteSeal();
  channel.Close();
  return output.content;
}

ByteBuilder HeaderBytes(unsigned int reserved, unsigned int count, unsigned int major,
                        unsigned int minor) {
  return ByteBuilder().Raw("LarkspanArchive").U32(major).U32(minor).U32(reserved).U32(count);
}

ByteBuilder WithEntryABC(ByteBuilder bytes, unsigned int archived, unsigned int size,
                         unsigned int crc) {
  bytes.Utf("a").U32(Stored).U32(0).U32(3).Raw("abc").U32(0);
  return bytes.U64(archived).U64(size).U32(crc);
}

unsigned int SumOf(const std::string& data) {
  const auto* const bytes = reinterpret_cast<const Bytef*>(data.data());
  return static_cast<unsigned int>(crc32_z(0, bytes, data.size()));
}

void PutHeaders(ArchiveOBinaryChannel& channel, const SampleArchive& archive) {
  for (const auto& [name, value] : archive.headers) {
    channel.PutHeader(UniString::FromUTF8(name), UniString::FromUTF8(value));
  }
}

void WriteEntry(ArchiveOBinaryChannel& channel, const SampleEntry& entry) {
  Larkspan::Common::IO::ArchiveHeaders headers;
  for (const auto& [name, value] : entry.headers) {
    headers.Put(UniString::FromUTF8(name), UniString::FromUTF8(value));
  }
  const auto method = static_cast<Larkspan::Common::IO::ArchiveEntry::Method>(entry.method);
  channel.PutNextEntry(UniString::FromUTF8(entry.name), headers, method);
  channel.Write(entry.data.data(), static_cast<unsigned int>(entry.data.size()));
}

}  // namespace Tests

#include "tests/larkspan/ArchiveSample.h"

#include <zlib.h>

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/Compress.h"
#include "tests/support/Noise.h"

namespace Tests {
namespace {

using enum Larkspan::Common::IO::ArchiveEntry::Method;

void AppendPairs(ByteBuilder& bytes, const Pairs& pairs) {
  bytes.U32(pairs.size());
  for (const auto& [name, value] : pairs) bytes.Utf(name).Utf(value);
}

void AppendEntry(ByteBuilder& bytes, const SampleEntry& entry) {
  bytes.Utf(entry.name).U32(entry.method);
  AppendPairs(bytes, entry.headers);
  const std::string archived = entry.method == Deflated ? Compress(entry.data) : entry.data;
  if (!archived.empty()) bytes.U32(archived.size()).Raw(archived);
  bytes.U32(0).U64(archived.size()).U64(entry.data.size());
  bytes.U32(crc32_z(0, reinterpret_cast<const Bytef*>(entry.data.data()), entry.data.size()));
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
  ByteBuilder bytes;
  bytes.Raw("LarkspanArchive").U32(1).U32(0).U32(archive.reserved);
  AppendPairs(bytes, archive.headers);
  if (archive.reserved != 0) bytes.FillTo(archive.reserved);
  for (const SampleEntry& entry : archive.entries) AppendEntry(bytes, entry);
  return bytes;
}

}  // namespace Tests

#include "tests/larkspan/ArchiveSample.h"

#include <random>

#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"

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

std::string Compress(const std::string& data) {
  std::string compressed(compressBound(data.size()), '\0');
  uLongf size = compressed.size();
  compress(reinterpret_cast<Bytef*>(compressed.data()), &size,
           reinterpret_cast<const Bytef*>(data.data()), data.size());
  compressed.resize(size);
  return compressed;
}

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

void ExpectFailures(const std::vector<std::pair<std::function<void()>, std::string>>& rows) {
  for (const auto& row : rows) EXPECT_EQ(FailureOf(row.first), row.second) << &row - rows.data();
}

std::string Noise(std::size_t size, unsigned int seed) {
  std::mt19937 generator(seed);
  std::string noise(size, '\0');
  for (char& byte : noise) byte = static_cast<char>(static_cast<unsigned char>(generator()));
  return noise;
}

}  // namespace Tests

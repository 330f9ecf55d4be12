#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/UniString.h"

namespace Tests {

using Pairs = std::vector<std::pair<std::string, std::string>>;

struct SampleEntry {
  std::string name;
  unsigned int method;
  Pairs headers;
  std::string data;

  friend bool operator==(const SampleEntry&, const SampleEntry&) = default;
};

/// An archive as plain values.
struct SampleArchive {
  unsigned int reserved = 0;
  Pairs headers;
  std::vector<SampleEntry> entries;

  friend bool operator==(const SampleArchive&, const SampleArchive&) = default;
};

/// Several entries: stored, deflated, empty, with headers and without, names and data all
/// different.
[[nodiscard]] SampleArchive MakeSample(unsigned int reserved);

/// The bytes of an archive, put together here and compressed by zlib's own functions.
[[nodiscard]] std::string ToBytes(const SampleArchive& archive);

/// Reads an archive through the library: `archive` gets all that was verified before `failure`.
struct ReadResult {
  SampleArchive archive;
  std::string failure;
};
[[nodiscard]] ReadResult ReadSample(Vx::IBinaryChannel& source);
[[nodiscard]] ReadResult ReadSample(const std::string& bytes);

[[nodiscard]] inline Vx::UniString Text(const std::string& utf8) {
  return Vx::UniString::FromUTF8(utf8);
}

/// Runs each one in turn and compares what it fails with, "" if it should not.
void ExpectFailures(const std::vector<std::pair<std::function<void()>, std::string>>& rows);

/// One zlib stream, by zlib's own functions.
[[nodiscard]] std::string Compress(const std::string& data);

/// All that a channel has to give, read in steps of `step` bytes.
[[nodiscard]] std::string ReadRest(Vx::IBinaryChannel& channel, unsigned int step = 4096);

/// `size` bytes that don't compress, the same for the same seed.
[[nodiscard]] std::string Noise(std::size_t size, unsigned int seed = 1);

}  // namespace Tests

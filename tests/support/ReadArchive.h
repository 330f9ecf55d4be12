#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <zlib.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/support/FailureOf.h"
#include "tests/support/PiecewiseInput.h"

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

/// `archive` has all that was verified before `failure`; `end` is what is known then.
struct ReadResult {
  SampleArchive archive;
  std::string failure;
  Larkspan::Common::IO::ArchiveEnd end = {};

  friend bool operator==(const ReadResult&, const ReadResult&) = default;
};

template <class Source>
Pairs TakePairs(const Source& source) {
  Pairs pairs;
  for (const auto& [n, v] : source.EnumerateHeaders()) pairs.emplace_back(n.ToUTF8(), v.ToUTF8());
  return pairs;
}

/// Reads an archive through the library, and throws a `std::logic_error` if an entry is verified
/// wrongly. What lies beyond `most` bytes of an entry's data is left to `CloseEntry`.
[[nodiscard]] inline ReadResult ReadArchive(Vx::IBinaryChannel& source, unsigned int step = 4096,
                                            std::size_t most = std::string::npos) {
  ReadResult result;
  result.failure = FailureOf([&] {
    Larkspan::Common::IO::ArchiveIBinaryChannel channel(source);
    result.archive.reserved = channel.GetReservedHeaderSize();
    result.archive.headers = TakePairs(channel);
    while (const auto entry = channel.GetNextEntry()) {
      std::string data = ReadRest(channel, step, most);
      channel.CloseEntry();
      const auto crc = crc32_z(0, reinterpret_cast<const Bytef*>(data.data()), data.size());
      const bool matches = entry->GetSize() == data.size() && entry->GetCRC() == crc;
      if (!entry->IsClosed() || (data.size() < most && !matches)) {
        throw std::logic_error("An entry is verified wrongly.");
      }
      result.archive.entries.push_back(
          {entry->GetName().ToUTF8(), entry->GetMethod(), TakePairs(*entry), std::move(data)});
    }
    result.end = channel.GetEnd();
    channel.Close();
  });
  return result;
}

[[nodiscard]] inline ReadResult ReadArchive(const std::string& bytes, unsigned int step = 4096,
                                            std::size_t most = std::string::npos) {
  Vx::MemoryIBinaryChannel source(bytes.data(), static_cast<unsigned int>(bytes.size()));
  return ReadArchive(source, step, most);
}

}  // namespace Tests

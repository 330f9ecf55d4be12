#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/Vx/UniString.h"
#include "tests/support/ReadArchive.h"

namespace Tests {

/// Several entries: stored, deflated, empty, with headers and without, names and data all
/// different.
[[nodiscard]] SampleArchive MakeSample(unsigned int reserved);

/// The bytes of an archive, put together here and compressed by zlib's own functions.
[[nodiscard]] std::string ToBytes(const SampleArchive& archive);

[[nodiscard]] inline Vx::UniString Text(const std::string& utf8) {
  return Vx::UniString::FromUTF8(utf8);
}

/// Runs each one in turn and compares what it fails with, "" if it should not.
void ExpectFailures(const std::vector<std::pair<std::function<void()>, std::string>>& rows);

/// One zlib stream, by zlib's own functions.
[[nodiscard]] std::string Compress(const std::string& data);

/// `size` bytes that don't compress, the same for the same seed.
[[nodiscard]] std::string Noise(std::size_t size, unsigned int seed = 1);

}  // namespace Tests

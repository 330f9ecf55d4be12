#pragma once

#include <string>

#include "tests/support/ReadArchive.h"

namespace Tests {

/// Several entries: stored, deflated, empty, with headers and without, names and data all
/// different.
[[nodiscard]] SampleArchive MakeSample(unsigned int reserved);

/// The bytes of an archive, put together here and compressed by zlib's own functions.
[[nodiscard]] std::string ToBytes(const SampleArchive& archive);

}  // namespace Tests

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/ReadArchive.h"

namespace Tests {

/// Several entries: stored, deflated, empty, with headers and without, names and data all
/// different.
[[nodiscard]] SampleArchive MakeSample(unsigned int reserved);

/// The bytes of an archive, put together here and compressed by zlib's own functions.
[[nodiscard]] std::string ToBytes(const SampleArchive& archive);

/// The archive as the library writes it with a seal. `starts` gets the offset of each entry, and of
/// the seal.
[[nodiscard]] std::string ToSealedBytes(const SampleArchive& archive,
                                        std::vector<std::size_t>* starts = nullptr);

/// The bytes of a header up to its pairs, of which there are to be `count`.
[[nodiscard]] ByteBuilder HeaderBytes(unsigned int reserved = 0, unsigned int count = 0,
                                      unsigned int major = 1, unsigned int minor = 0);

/// `bytes`, and behind them a stored entry "a" of the data "abc" with the footer given.
[[nodiscard]] ByteBuilder WithEntryABC(ByteBuilder bytes, unsigned int archived = 3,
                                       unsigned int size = 3, unsigned int crc = 0x352441C2U);

/// The CRC-32 of `data`, by zlib's own function.
[[nodiscard]] unsigned int SumOf(const std::string& data);

void PutHeaders(Larkspan::Common::IO::ArchiveOBinaryChannel& channel, const SampleArchive& archive);
void WriteEntry(Larkspan::Common::IO::ArchiveOBinaryChannel& channel, const SampleEntry& entry);

}  // namespace Tests

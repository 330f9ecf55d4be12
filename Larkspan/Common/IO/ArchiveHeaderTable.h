#pragma once

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/OChannelX.h"

namespace Larkspan::Common::IO {

/// What entries, channels and files do alike with their tables of headers. Each of them has its own
/// words for a bad name, which it passes in with the position to report.

inline constexpr const char* EmptyEntryName = "Invalid archive entry name: name is empty.";

/// Throws `Vx::IllegalArgumentException` with `message` if `name` is empty.
void CheckName(const Vx::UniString& name, const char* message, const char* file = __builtin_FILE(),
               unsigned int line = __builtin_LINE());

/// Throws `Vx::IllegalArgumentException` if any header of the table has an empty name.
void CheckHeaderNames(const ArchiveHeaders& headers, const char* file = __builtin_FILE(),
                      unsigned int line = __builtin_LINE());

/// Writes the pairs from `headers` on, without their count.
void WriteHeaders(Vx::OChannelX& channel, const ArchiveHeaderIterator& headers);

/// Reads `count` pairs, and hands each to `put(name, value)`.
template <class Put>
void ReadPairs(Vx::IChannelX& channel, unsigned int count, Put put) {
  for (unsigned int index = 0; index < count; ++index) {
    const Vx::UniString name = ReadUTF(channel);
    put(name, ReadUTF(channel));
  }
}

/// Reads a count and as many pairs, and hands each to `put(name, value)`.
template <class Put>
void ReadHeaders(Vx::IChannelX& channel, Put put) {
  unsigned int count = 0;
  channel.Read(count);
  ReadPairs(channel, count, put);
}

}  // namespace Larkspan::Common::IO

#pragma once

#include <span>

#include "foundation/Export.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Vx {

/// The second interface of an output channel that gathers bytes in memory: a writer of many small
/// values can put them where they are gathered. Filling room is the same as writing the bytes.
class FOUNDATION_API FillableOutput {
 public:
  /// The fillable interface of `channel`, or null if it has none. It lives as long as the channel.
  [[nodiscard]] static FillableOutput* Find(OBinaryChannel& channel) noexcept;

  /// Room for the next bytes, at least `size`; empty where the channel does not gather a write of
  /// that size. It stays where it is until the channel is written to, asked for room again,
  /// flushed, closed or destroyed. Throws what a `Write` of that size throws.
  [[nodiscard]] virtual std::span<char> GetRoom(unsigned int size) = 0;

  /// Takes the first `size` bytes of the room that was returned last, as a `Write` would.
  virtual void Fill(unsigned int size) noexcept = 0;

 protected:
  ~FillableOutput() = default;
};

}  // namespace Vx

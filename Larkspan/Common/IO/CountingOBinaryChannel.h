#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ByteCount.h"
#include "Larkspan/Common/IO/DigestOBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Counts the bytes that are written through it.
/// A counted reference shares ownership; a plain reference must outlive this channel.
/// An empty reference throws `Vx::IllegalArgumentException`.
class LARKSPAN_API CountingOBinaryChannel final : public DigestOBinaryChannel<ByteCount> {
 public:
  explicit CountingOBinaryChannel(Vx::OBinaryChannel& channel) noexcept;
  explicit CountingOBinaryChannel(const Vx::OBinaryChannelRef& channel);
  ~CountingOBinaryChannel() override;

  [[nodiscard]] Vx::UInt64 GetCount() const noexcept { return GetDigest().GetValue(); }
  void ResetCount() noexcept { ResetDigest(); }
};

}  // namespace Larkspan::Common::IO

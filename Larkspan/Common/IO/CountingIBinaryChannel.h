#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ByteCount.h"
#include "Larkspan/Common/IO/DigestIBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Counts the bytes that are read through it.
/// A counted reference shares ownership; a plain reference must outlive this channel.
/// An empty reference throws `Vx::IllegalArgumentException`.
class LARKSPAN_API CountingIBinaryChannel final : public DigestIBinaryChannel<ByteCount> {
 public:
  explicit CountingIBinaryChannel(Vx::IBinaryChannel& channel) noexcept;
  explicit CountingIBinaryChannel(const Vx::IBinaryChannelRef& channel);
  ~CountingIBinaryChannel() override;

  [[nodiscard]] Vx::UInt64 GetCount() const noexcept { return GetDigest().GetValue(); }
  void ResetCount() noexcept { ResetDigest(); }
};

}  // namespace Larkspan::Common::IO

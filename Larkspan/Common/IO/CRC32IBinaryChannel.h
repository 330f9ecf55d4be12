#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/CRC32.h"
#include "Larkspan/Common/IO/DigestIBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Takes the CRC-32 of the bytes that are read through it.
/// A counted reference shares ownership; a plain reference must outlive this channel.
/// An empty reference throws `Vx::IllegalArgumentException`.
class LARKSPAN_API CRC32IBinaryChannel final : public DigestIBinaryChannel<CRC32> {
 public:
  explicit CRC32IBinaryChannel(Vx::IBinaryChannel& channel) noexcept;
  explicit CRC32IBinaryChannel(const Vx::IBinaryChannelRef& channel);
  ~CRC32IBinaryChannel() override;

  [[nodiscard]] unsigned int GetCRC() const noexcept { return GetDigest().GetValue(); }
  void ResetCRC() noexcept { ResetDigest(); }
};

}  // namespace Larkspan::Common::IO

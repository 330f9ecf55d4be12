#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/CRC32.h"
#include "Larkspan/Common/IO/DigestOBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Takes the CRC-32 of the bytes that are written through it.
/// A counted reference shares ownership; a plain reference must outlive this channel.
/// An empty reference throws `Vx::IllegalArgumentException`.
class LARKSPAN_API CRC32OBinaryChannel final : public DigestOBinaryChannel<CRC32> {
 public:
  explicit CRC32OBinaryChannel(Vx::OBinaryChannel& channel) noexcept;
  explicit CRC32OBinaryChannel(const Vx::OBinaryChannelRef& channel);
  ~CRC32OBinaryChannel() override;

  [[nodiscard]] unsigned int GetCRC() const noexcept { return GetDigest().GetValue(); }
  void ResetCRC() noexcept { ResetDigest(); }
};

}  // namespace Larkspan::Common::IO

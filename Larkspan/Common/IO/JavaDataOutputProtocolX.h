#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/OProtocolX.h"

namespace Larkspan::Common::IO {

/// Writes values as Java's `DataOutputStream` does: big-endian, a `bool` as the byte 1 or 0, every
/// NaN as the one canonical pattern (IEEE 754 quiet NaN without payload). `long` takes 4 bytes and
/// `long double` is written as `double`, on every platform. Each value reaches the channel in one
/// call of its `Write`. Has no state: any number of threads may share an instance.
class LARKSPAN_API JavaDataOutputProtocolX : public Vx::OProtocolX {
 public:
  JavaDataOutputProtocolX() noexcept;
  JavaDataOutputProtocolX(const JavaDataOutputProtocolX& source) noexcept;
  JavaDataOutputProtocolX& operator=(const JavaDataOutputProtocolX& source) noexcept;

  /// The instance of the process; it lives until the process ends.
  [[nodiscard]] static const JavaDataOutputProtocolX& GetInstance();

  using OProtocolX::Write;
  void Write(Vx::OBinaryChannel& channel, long double value) const override;
  void Write(Vx::OBinaryChannel& channel, double value) const override;
  void Write(Vx::OBinaryChannel& channel, float value) const override;
  void Write(Vx::OBinaryChannel& channel, unsigned __int64 value) const override;
  void Write(Vx::OBinaryChannel& channel, __int64 value) const override;
  void Write(Vx::OBinaryChannel& channel, unsigned long value) const override;
  void Write(Vx::OBinaryChannel& channel, long value) const override;
  void Write(Vx::OBinaryChannel& channel, unsigned int value) const override;
  void Write(Vx::OBinaryChannel& channel, int value) const override;
  void Write(Vx::OBinaryChannel& channel, unsigned short value) const override;
  void Write(Vx::OBinaryChannel& channel, short value) const override;
  void Write(Vx::OBinaryChannel& channel, bool value) const override;
  void Write(Vx::OBinaryChannel& channel, unsigned char value) const override;
  void Write(Vx::OBinaryChannel& channel, char value) const override;
  ~JavaDataOutputProtocolX() override;
};

}  // namespace Larkspan::Common::IO

#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/OProtocolX.h"

namespace Larkspan::Common::IO {

/// Writes values as Java's `DataOutputStream` does: big-endian, a `bool` as the byte 1 or 0, every
/// NaN as the one canonical pattern (IEEE 754 quiet NaN without payload). Each value reaches the
/// channel in one call of its `Write`. Has no state: any number of threads may share an instance.
///
/// Beware: on every platform `long` takes 4 bytes, and what it holds beyond 32 bits is truncated
/// without a word. Where `long` has 8 bytes, `std::int64_t`, `std::size_t` and `std::time_t` are
/// `long`: write them as `__int64`, which takes 8. `long double` is written as `double`. For texts
/// as Java's `writeUTF` writes them there is `WriteUTF`.
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
  void Write(Vx::OBinaryChannel& channel, Vx::UInt64 value) const override;
  void Write(Vx::OBinaryChannel& channel, Vx::Int64 value) const override;
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

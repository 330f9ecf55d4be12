#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IProtocolX.h"

namespace Larkspan::Common::IO {

/// Reads values as Java's `DataInputStream` does, except that only the byte 1 is a true `bool`.
/// Bit patterns of floating-point numbers come back as they are, NaN payloads included. A `long`
/// has 4 bytes on every platform, which are sign-extended, and zero-extended for `unsigned long`:
/// where `std::int64_t` is `long`, read an `__int64` instead. A `long double` is read as `double`,
/// which may quieten a signalling NaN. For texts as Java's `writeUTF` writes them there is
/// `ReadUTF`.
///
/// Input that ends within a value throws `Vx::EndOfInputException`, "End of input reached."; the
/// value is then not to be used. Has no state: any number of threads may share an instance.
class LARKSPAN_API JavaDataInputProtocolX : public Vx::IProtocolX {
 public:
  JavaDataInputProtocolX() noexcept;
  JavaDataInputProtocolX(const JavaDataInputProtocolX& source) noexcept;
  JavaDataInputProtocolX& operator=(const JavaDataInputProtocolX& source) noexcept;

  /// The instance of the process; it lives until the process ends.
  [[nodiscard]] static const JavaDataInputProtocolX& GetInstance();

  using IProtocolX::Read;
  void Read(Vx::IBinaryChannel& channel, long double& value) const override;
  void Read(Vx::IBinaryChannel& channel, double& value) const override;
  void Read(Vx::IBinaryChannel& channel, float& value) const override;
  void Read(Vx::IBinaryChannel& channel, Vx::UInt64& value) const override;
  void Read(Vx::IBinaryChannel& channel, Vx::Int64& value) const override;
  void Read(Vx::IBinaryChannel& channel, unsigned long& value) const override;
  void Read(Vx::IBinaryChannel& channel, long& value) const override;
  void Read(Vx::IBinaryChannel& channel, unsigned int& value) const override;
  void Read(Vx::IBinaryChannel& channel, int& value) const override;
  void Read(Vx::IBinaryChannel& channel, unsigned short& value) const override;
  void Read(Vx::IBinaryChannel& channel, short& value) const override;
  void Read(Vx::IBinaryChannel& channel, bool& value) const override;
  void Read(Vx::IBinaryChannel& channel, unsigned char& value) const override;
  void Read(Vx::IBinaryChannel& channel, char& value) const override;
  ~JavaDataInputProtocolX() override;
};

}  // namespace Larkspan::Common::IO

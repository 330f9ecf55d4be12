#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IChannel.h"
#include "foundation/Vx/IProtocol.h"

namespace Larkspan::Common::IO {

/// `JavaDataInputProtocolX` for channels that report by status: the same values from the same
/// bytes. Every operation returns 0, or the channel's status: `Vx::StatusEndOfInput` if the input
/// ends before the value, and `Vx::StatusTruncated`, which the channel doesn't have, if it ends
/// within. A primitive value stays as it was then. What the channel throws passes through, except
/// where a text is read. Has no state: any number of threads may share an instance.
class LARKSPAN_API JavaDataInputProtocol : public Vx::IProtocol {
 public:
  JavaDataInputProtocol() noexcept;
  JavaDataInputProtocol(const JavaDataInputProtocol& source) noexcept;
  JavaDataInputProtocol& operator=(const JavaDataInputProtocol& source) noexcept;
  ~JavaDataInputProtocol() override;

  /// The instance of the process; it lives until the process ends.
  [[nodiscard]] static JavaDataInputProtocol& GetInstance();

  using IProtocol::Read;
  /// A `Vx::UniString` as `ReadUTF` reads it; any other object reads itself.
  [[nodiscard]] int Read(Vx::IChannel& channel, Vx::Object& value) override;
  /// A text as `ReadUTF` reads it, in ISO 8859-1 with a terminating zero; a zero within ends it.
  /// The caller provides space for the longest that can come, 65536 bytes. With a status other than
  /// 0 nothing is written. Throws `Vx::ConversionErrorException` for a character that ISO 8859-1
  /// does not have.
  [[nodiscard]] int Read(Vx::IChannel& channel, char* value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, long double& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, double& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, float& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, Vx::UInt64& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, Vx::Int64& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, unsigned long& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, long& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, unsigned int& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, int& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, unsigned short& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, short& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, bool& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, unsigned char& value) override;
  [[nodiscard]] int Read(Vx::IChannel& channel, char& value) override;
};

}  // namespace Larkspan::Common::IO

#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/OChannel.h"
#include "foundation/Vx/OProtocol.h"

namespace Larkspan::Common::IO {

/// `JavaDataOutputProtocolX` for channels that report by status: the same bytes for the same
/// primitive values, each in one call of the channel's `WriteBin`. Every operation returns the
/// channel's status; what the channel throws passes through, except where a text is written. Has no
/// state: any number of threads may share an instance.
class LARKSPAN_API JavaDataOutputProtocol : public Vx::OProtocol {
 public:
  JavaDataOutputProtocol() noexcept;
  JavaDataOutputProtocol(const JavaDataOutputProtocol& source) noexcept;
  JavaDataOutputProtocol& operator=(const JavaDataOutputProtocol& source) noexcept;
  ~JavaDataOutputProtocol() override;

  /// The instance of the process; it lives until the process ends.
  [[nodiscard]] static JavaDataOutputProtocol& GetInstance();

  using OProtocol::Write;
  /// A `Vx::UniString` as `WriteUTF` writes it; any other object writes itself.
  [[nodiscard]] int Write(Vx::OChannel& channel, const Vx::Object& value) override;
  /// A zero-terminated text in ISO 8859-1, as `WriteUTF` writes it. Returns `Vx::StatusWriteError`
  /// for any `VxException`.
  [[nodiscard]] int Write(Vx::OChannel& channel, const char* value) override;
  /// Writes nothing and returns 0: a pointer means nothing to whoever reads.
  [[nodiscard]] int Write(Vx::OChannel& channel, const void* value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, long double value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, double value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, float value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, Vx::UInt64 value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, Vx::Int64 value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, unsigned long value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, long value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, unsigned int value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, int value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, unsigned short value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, short value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, bool value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, unsigned char value) override;
  [[nodiscard]] int Write(Vx::OChannel& channel, char value) override;
  /// Does nothing: nobody reads these bytes but programs.
  void Note(Vx::OChannel& channel, unsigned int category, unsigned int level,
            const char* text) override;
};

}  // namespace Larkspan::Common::IO

#pragma once

#include <string>
#include <string_view>

#include "foundation/IO/File.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/UniString.h"

namespace Tool {

/// Writes to an open file, which stays open. Failures of the system are thrown as `Failure`, and
/// `PipeClosed` for a pipe without a reader.
class OutputChannel final : public Vx::OBinaryChannel {
 public:
  /// Of the `Vx::BufferedOBinaryChannel` that belongs in front.
  static constexpr unsigned int BufferSize = 0x40000;

  /// `printableName` stands in messages.
  OutputChannel(::IO::File& target, std::string printableName);
  ~OutputChannel() override;

  void Write(const char* data, unsigned int size) override;
  void Flush() override {}
  void Close() override {}

 private:
  ::IO::File& file;
  const std::string subject;
};

/// The standard output. `Flush` before the end: destruction writes nothing.
class StandardOutput final {
 public:
  /// With `null`, names are printed as they are, with zero bytes behind them in place of line ends.
  explicit StandardOutput(bool null = false);

  [[nodiscard]] Vx::OBinaryChannel& GetChannel() noexcept { return channel; }
  /// At a terminal the text appears at once.
  void Print(std::string_view text);
  /// A line with a name: at a terminal on one line and without what that would obey, elsewhere as
  /// it is.
  void PrintName(std::string_view before, Vx::UniString::View name, std::string_view after = {});
  void Flush() { channel.Flush(); }

 private:
  ::IO::File file;
  OutputChannel sink;
  Vx::BufferedOBinaryChannel channel;
  const bool terminal;
  const bool zeroEnds;
};

}  // namespace Tool

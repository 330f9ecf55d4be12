#pragma once

#include <string>
#include <string_view>

#include "foundation/IO/File.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Tool {

/// Writes to an open file through a buffer. Failures of the system are raised as `Failure`, and
/// `PipeClosed` for a pipe without a reader. `Close` writes the buffer out; the file stays open.
class OutputChannel final : public Vx::OBinaryChannel {
 public:
  /// `printableName` stands in messages.
  OutputChannel(::IO::File& target, std::string printableName);
  ~OutputChannel() override;

  void Write(const char* data, unsigned int size) override;
  void Flush() override;
  void Close() override { Flush(); }

 private:
  void WriteOut(const char* data, unsigned int size);

  ::IO::File& file;
  const std::string subject;
  Vx::ByteArray buffer;
  unsigned int gathered = 0;
};

/// The standard output. `Flush` before the end: destruction writes nothing.
class StandardOutput final {
 public:
  StandardOutput();

  [[nodiscard]] OutputChannel& GetChannel() noexcept { return channel; }
  /// At a terminal the text appears at once.
  void Print(std::string_view text);
  void Flush() { channel.Flush(); }

 private:
  ::IO::File file;
  OutputChannel channel;
  const bool terminal;
};

}  // namespace Tool

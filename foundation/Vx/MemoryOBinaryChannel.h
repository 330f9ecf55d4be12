#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/FillableOutput.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Vx {

/// Collects what is written in memory, up to 2^31 - 1 bytes; more throws `OutOfMemoryException`.
/// The content stays readable after `Close`.
class FOUNDATION_API MemoryOBinaryChannel final : public OBinaryChannel, public FillableOutput {
 public:
  MemoryOBinaryChannel() noexcept;
  ~MemoryOBinaryChannel() override;

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override;
  void Flush() override;
  void Close() override;

  [[nodiscard]] std::span<char> GetRoom(unsigned int size) override;
  void Fill(unsigned int size) noexcept override { written += size; }

  /// The bytes written so far. Valid until the next `Write`.
  [[nodiscard]] const char* GetBuffer() const noexcept {
    return content == nullptr ? "" : content.get();
  }
  [[nodiscard]] unsigned int GetSize() const noexcept { return written; }

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  void Reserve(unsigned int size);

  ByteArray content;
  unsigned int capacity = 0;
  unsigned int written = 0;
  bool closed = false;
};

}  // namespace Vx

#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/String.h"

namespace Vx {

/// Collects what is written in memory, up to 2^31 - 1 bytes; more throws `OutOfMemoryException`.
/// The content stays readable after `Close`.
class FOUNDATION_API MemoryOBinaryChannel final : public OBinaryChannel {
 public:
  MemoryOBinaryChannel() noexcept;
  ~MemoryOBinaryChannel() override;

  void Write(const char* data, unsigned int size) override;
  void Flush() override;
  void Close() override;

  /// The bytes written so far. Valid until the next `Write`.
  [[nodiscard]] const char* GetBuffer() const noexcept { return content.GetBuffer(); }
  [[nodiscard]] unsigned int GetSize() const noexcept { return content.GetLength(); }

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  String content;
  bool closed = false;
};

}  // namespace Vx

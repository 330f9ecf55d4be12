#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/SkippableInput.h"

namespace Vx {

/// Reads bytes in memory, which the caller keeps alive and unchanged.
class FOUNDATION_API MemoryIBinaryChannel final : public IBinaryChannel,
                                                  public PeekableInput,
                                                  public SkippableInput {
 public:
  MemoryIBinaryChannel(const char* data, unsigned int size) noexcept;
  ~MemoryIBinaryChannel() override;

  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadAllModeSelector mode) override;
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  void Close() override;

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override { return ToEnd; }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override;

  [[nodiscard]] bool CanSkip() const noexcept override { return true; }
  [[nodiscard]] unsigned __int64 Skip(unsigned __int64 size) override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  const char* next;
  unsigned int left;
  bool closed = false;
};

}  // namespace Vx

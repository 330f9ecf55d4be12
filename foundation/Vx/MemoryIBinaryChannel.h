#pragma once

#include <concepts>
#include <cstddef>
#include <span>
#include <string_view>

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
  /// Bytes of any number.
  explicit MemoryIBinaryChannel(std::string_view data) noexcept;
  explicit MemoryIBinaryChannel(std::span<const std::byte> data) noexcept
      : MemoryIBinaryChannel(
            std::string_view(reinterpret_cast<const char*>(data.data()), data.size())) {}
  /// A size that 32 bits may not hold is not truncated.
  template <std::integral Size>
  requires(sizeof(Size) > sizeof(unsigned int)) MemoryIBinaryChannel(const char* data, Size size)
  noexcept : MemoryIBinaryChannel(std::string_view(data, static_cast<std::size_t>(size))) {}
  ~MemoryIBinaryChannel() override;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadAllModeSelector mode) override;
  [[nodiscard]] UInt64 GetAvailable() const override;
  void Close() override;

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override { return ToEnd; }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override;

  [[nodiscard]] bool CanSkip() const noexcept override { return true; }
  [[nodiscard]] UInt64 Skip(UInt64 size) override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  std::string_view left;
  bool closed = false;
};

}  // namespace Vx

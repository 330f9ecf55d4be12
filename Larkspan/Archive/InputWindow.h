#pragma once

#include <string>

#include "Larkspan/Archive/RandomInput.h"
#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/SkippableInput.h"

namespace Larkspan::Archive {

/// A store as a stream from a place on. Reads ahead, and passes over bytes for nothing.
class InputWindow final : public Vx::IBinaryChannel,
                          public Vx::PeekableInput,
                          public Vx::SkippableInput {
 public:
  /// Takes `bufferSize` bytes.
  InputWindow(const RandomInput& input, unsigned __int64 offset, unsigned int bufferSize);
  ~InputWindow() override;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* target, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  void Close() override {}

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override { return capacity; }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override { start += size; }

  [[nodiscard]] bool CanSkip() const noexcept override { return true; }
  [[nodiscard]] unsigned __int64 Skip(unsigned __int64 size) override;

  using Bytes = std::basic_string<char, std::char_traits<char>, Vx::Allocator<char>>;

  /// From now on, what is read is appended to `target`; null ends that.
  void Record(Bytes* target) noexcept { record = target; }

  /// Where in the store the next byte is.
  [[nodiscard]] unsigned __int64 GetPosition() const noexcept { return next - (end - start); }

 private:
  const RandomInput& store;
  const unsigned int capacity;
  const Vx::ByteArray buffer;
  unsigned int start = 0;
  unsigned int end = 0;
  Bytes* record = nullptr;
  unsigned __int64 next;  // behind the buffer's last byte
};

}  // namespace Larkspan::Archive

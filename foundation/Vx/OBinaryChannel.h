#pragma once

#include <concepts>
#include <cstddef>
#include <span>
#include <string_view>

#include "foundation/Export.h"
#include "foundation/Vx/AtomicCounter.h"
#include "foundation/Vx/Ref.h"
#include "foundation/Vx/Types.h"

namespace Vx {

/// A sink of bytes. Sizes are in bytes; failures are `IOException` or below.
class FOUNDATION_API OBinaryChannel {
 public:
  OBinaryChannel(const OBinaryChannel&) = delete;
  OBinaryChannel& operator=(const OBinaryChannel&) = delete;

  /// Takes all `size` bytes or fails; how many were taken by then is not told.
  virtual void Write(const char* data, unsigned int size) = 0;

  /// The same for data of any size, in as few calls of the form above as 32-bit sizes allow: one,
  /// of size 0 too, up to 4 GiB.
  void Write(std::string_view data);
  void Write(std::span<const std::byte> data) {
    Write(std::string_view(reinterpret_cast<const char*>(data.data()), data.size()));
  }
  /// A size that 32 bits may not hold is not truncated.
  template <std::integral Size>
  requires(sizeof(Size) > sizeof(unsigned int)) void Write(const char* data, Size size) {
    Write(std::string_view(data, static_cast<std::size_t>(size)));
  }
  /// A size is a whole number.
  template <std::floating_point Size>
  void Write(const char* data, Size size) = delete;

  /// Passes on what the channel holds back, and flushes what lies beneath.
  virtual void Flush() = 0;

  /// Completes the output and closes what lies beneath.
  virtual void Close() = 0;

  virtual ~OBinaryChannel();

 protected:
  OBinaryChannel() noexcept = default;
};

using OBinaryChannelRef = Ref<OBinaryChannel, AtomicCounter>;

}  // namespace Vx

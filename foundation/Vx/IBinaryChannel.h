#pragma once

#include <concepts>
#include <cstddef>
#include <span>

#include "foundation/Export.h"
#include "foundation/Vx/AtomicCounter.h"
#include "foundation/Vx/Ref.h"
#include "foundation/Vx/Types.h"

namespace Vx {

/// A source of bytes. Sizes are in bytes; failures are `IOException` or below.
class FOUNDATION_API IBinaryChannel {
 public:
  /// Selects the form of `Read` that may return fewer bytes than asked.
  enum ReadSomeModeSelector : int { ReadSome = 0 };
  /// Selects the form of `Read` that falls short only at the end of input.
  enum ReadAllModeSelector : int { ReadAll = 0 };

  IBinaryChannel(const IBinaryChannel&) = delete;
  IBinaryChannel& operator=(const IBinaryChannel&) = delete;

  /// Reads at least one byte and at most `size`; returns the number, 0 at the end of input.
  [[nodiscard]] virtual unsigned int Read(char* buffer, unsigned int size,
                                          ReadSomeModeSelector mode) = 0;

  /// Reads until `size` bytes are there or the input ends; returns the number. Built on the form
  /// above, which it does not call for a size of 0.
  [[nodiscard]] virtual unsigned int Read(char* buffer, unsigned int size,
                                          ReadAllModeSelector mode);

  /// The two forms for buffers of any size. `ReadSome` asks for at most 4 GiB - 1 of it.
  [[nodiscard]] std::size_t Read(std::span<std::byte> buffer, ReadSomeModeSelector mode);
  [[nodiscard]] std::size_t Read(std::span<std::byte> buffer, ReadAllModeSelector mode);
  /// The forms with a pointer for a size that 32 bits may not hold: it is not truncated. Throws
  /// `IllegalArgumentException` for one that they don't hold, which a span can have.
  template <std::integral Size, class Mode>
  requires(sizeof(Size) > sizeof(unsigned int))
      [[nodiscard]] unsigned int Read(char* buffer, Size size, Mode mode) {
    return Read(buffer, CheckSize(static_cast<std::size_t>(size)), mode);
  }

  /// How many bytes can be read without waiting, as far as the channel knows.
  [[nodiscard]] virtual UInt64 GetAvailable() const = 0;

  /// Ends reading and closes what lies beneath.
  virtual void Close() = 0;

  virtual ~IBinaryChannel();

 protected:
  IBinaryChannel() noexcept = default;

 private:
  static unsigned int CheckSize(std::size_t size);
};

using IBinaryChannelRef = Ref<IBinaryChannel, AtomicCounter>;

}  // namespace Vx

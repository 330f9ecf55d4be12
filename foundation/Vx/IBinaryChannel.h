#pragma once

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

  /// How many bytes can be read without waiting, as far as the channel knows.
  [[nodiscard]] virtual unsigned __int64 GetAvailable() const = 0;

  /// Ends reading and closes what lies beneath.
  virtual void Close() = 0;

  virtual ~IBinaryChannel();

 protected:
  IBinaryChannel() noexcept = default;
};

using IBinaryChannelRef = Ref<IBinaryChannel, AtomicCounter>;

}  // namespace Vx

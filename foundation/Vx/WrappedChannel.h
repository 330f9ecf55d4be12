#pragma once

#include "foundation/Vx/AtomicCounter.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/Ref.h"

namespace Vx {

/// The channel that a filter sits on, held in one of two ways: by a counted reference that shares
/// ownership, or by a plain reference that owns nothing.
template <class Channel>
class WrappedChannel final {
 public:
  using Reference = Ref<Channel, AtomicCounter>;

  /// The caller keeps `target` alive.
  explicit WrappedChannel(Channel& target) noexcept : channel(&target) {}

  /// Throws `IllegalArgumentException` with the message and position given if `target` is empty.
  WrappedChannel(const Reference& target, const char* message, const char* fileName,
                 unsigned int lineNumber)
      : reference(target), channel(&Checked(target, message, fileName, lineNumber)) {}

  [[nodiscard]] Channel& Get() noexcept { return *channel; }
  [[nodiscard]] const Channel& Get() const noexcept { return *channel; }

  /// Holds `target`, which is not empty, from now on.
  void Set(const Reference& target) noexcept {
    reference = target;
    channel = target.Get();
  }

 private:
  static Channel& Checked(const Reference& target, const char* message, const char* fileName,
                          unsigned int lineNumber) {
    if (target.IsEmpty()) throw IllegalArgumentException(message, fileName, lineNumber);
    return *target;
  }

  Reference reference;
  Channel* channel;
};

}  // namespace Vx

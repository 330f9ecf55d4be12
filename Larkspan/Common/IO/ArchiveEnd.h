#pragma once

#include "foundation/Vx/Types.h"

namespace Larkspan::Common::IO {

/// How an archive ends, and what its seal and the promise of it in its header say. A value.
///
/// A seal is an end record behind the last footer, and readers that don't know it take it for the
/// end. The header of an archive that is sealed promises it, and holds a check of itself.
struct ArchiveEnd {
  enum class State : unsigned int {
    Unknown,             ///< not reached yet, or hidden by a failure of the source
    EndsAtFooter,        ///< nothing behind the last footer or the header, and nothing promised
    SealedRight,         ///< the seal that was promised fits every entry
    SealedWrong,         ///< a seal that does not fit, or that has bytes before or behind it
    TrailingBytes,       ///< bytes behind the last footer that are no seal, and nothing promised
    PromisedButMissing,  ///< no seal, although it was promised: something was cut off
    SealWithoutPromise,  ///< a seal that fits, but the header does not promise it
    EndsInHeader,        ///< inside the room that the header reserves, and nothing promised
  };

  enum class HeaderCheck : unsigned int {
    None,   ///< no seal is promised
    Right,  ///< the header block is the one that was written
    Wrong,  ///< it is torn, or was changed by a program that does not know the seal
  };

  State state = State::Unknown;
  HeaderCheck headerCheck = HeaderCheck::None;
  /// Bytes behind the last footer, those of the seal included. At most 65537: more of them would be
  /// read as an entry.
  unsigned int tailSize = 0;

  [[nodiscard]] bool IsSealPromised() const noexcept { return headerCheck != HeaderCheck::None; }

  /// Whether something is missing or was changed for certain. `TrailingBytes` and `EndsInHeader`
  /// are no damage by the format, but nothing that a writer makes.
  [[nodiscard]] bool IsDamaged() const noexcept {
    return headerCheck == HeaderCheck::Wrong || state == State::SealedWrong ||
           state == State::PromisedButMissing || state == State::SealWithoutPromise;
  }

  friend bool operator==(const ArchiveEnd&, const ArchiveEnd&) noexcept = default;
};

}  // namespace Larkspan::Common::IO

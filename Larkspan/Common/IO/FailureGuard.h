#pragma once

#include <type_traits>

#include "Larkspan/Common/ExceptionReport.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Common::IO {

/// A failure with its cause, and with the path and status that the cause or one below it knows: a
/// host finds them without walking the chain.
template <class Failure>
[[nodiscard]] Failure WithCause(const char* message, const char* fileName, unsigned int lineNumber,
                                const VxException& cause) {
  Failure failure(message, fileName, lineNumber, cause);
  for (const VxException* level = &cause; level != nullptr; level = level->GetCause()) {
    if (level->GetDetail() == nullptr) continue;
    failure.SetDetail(*level->GetDetail());
    break;
  }
  return failure;
}

/// Runs `work` so that its failures come out as one type: a failure of a `Failure` class of the
/// work's own passes on, and so does running out of memory; everything else becomes a `Failure`
/// with the message given and the failure as cause. What is not a `Vx::IOException` is unexpected,
/// and goes to the debug output too. With `Vx::IOException` as `Failure`, which has no class of its
/// own, nothing but running out of memory passes on.
template <class Failure, class Work>
void PresentFailuresAs(const char* message, const char* fileName, unsigned int lineNumber,
                       Work work) {
  try {
    work();
  } catch (const Vx::IOException& exception) {
    if constexpr (!std::is_same_v<Failure, Vx::IOException>) {
      if (dynamic_cast<const Failure*>(&exception) != nullptr) throw;
    }
    throw WithCause<Failure>(message, fileName, lineNumber, exception);
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException& exception) {
    DebugPrintEx(exception);
    throw WithCause<Failure>(message, fileName, lineNumber, exception);
  }
}

/// The same, with a failure of class `Failure` wrapped too, without a word to the debug output, and
/// with the result of `work`.
template <class Failure, class Work>
auto WrapFailuresAs(const char* message, Work work, const char* fileName = __builtin_FILE(),
                    unsigned int lineNumber = __builtin_LINE()) {
  try {
    return work();
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException& exception) {
    throw WithCause<Failure>(message, fileName, lineNumber, exception);
  }
}

}  // namespace Larkspan::Common::IO

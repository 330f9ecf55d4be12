#pragma once

#include "Larkspan/Common/ExceptionReport.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Common::IO {

/// Runs `work` so that its failures come out as one type: lack of memory as it is, everything else
/// as a `Failure` with the message given and the failure as cause. What is no `Vx::IOException` is
/// unexpected, and goes to the debug output too.
template <class Failure, class Work>
void PresentFailuresAs(const char* message, const char* fileName, unsigned int lineNumber,
                       Work work) {
  try {
    work();
  } catch (const Vx::IOException& exception) {
    throw Failure(message, fileName, lineNumber, exception);
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException& exception) {
    DebugPrintEx(exception);
    throw Failure(message, fileName, lineNumber, exception);
  }
}

}  // namespace Larkspan::Common::IO

#pragma once

#include "Larkspan/Common/Export.h"

namespace Larkspan::Common {

/// Base64 with the standard alphabet and padding (RFC 4648, section 4), between plain buffers.
///
/// Both operations deliver a buffer, its size, or both: one of `target` and `targetSize` may be
/// null. The buffer comes from `Vx::NewArrayOperator`, is the caller's, and goes back through
/// `Vx::DeleteArrayOperator`; a `Vx::ByteArray` does that. Both throw
/// `Vx::IllegalArgumentException` for a null or empty source, for two null targets, and for a text,
/// be it the result or the source, of more than 4294967292 characters; they throw
/// `Vx::OutOfMemoryException`, and then nothing is delivered and nothing stays allocated. Any
/// number of threads may call them at once.
class LARKSPAN_API Base64 {
 public:
  /// The text has no line breaks and no terminating zero. With a null `target` its size is told
  /// without any work.
  static void Encode(const char* source, unsigned int sourceSize, char** target,
                     unsigned int* targetSize);

  /// Takes any text: characters outside the alphabet are skipped, and the first `=` ends it. A last
  /// quartet that neither is complete nor ends in `=` is dropped. The buffer has space for three
  /// bytes for every four characters of `source`, even if fewer are delivered; with a null `target`
  /// it is made all the same, and freed.
  static void Decode(const char* source, unsigned int sourceSize, char** target,
                     unsigned int* targetSize);
};

}  // namespace Larkspan::Common

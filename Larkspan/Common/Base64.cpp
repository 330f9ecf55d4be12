#include "Larkspan/Common/Base64.h"

#include <limits>

#include "Larkspan/Common/Base64Codec.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/Memory.h"

namespace Larkspan::Common {
namespace {

void CheckArguments(const char* source, unsigned int sourceSize, char** target,
                    const unsigned int* targetSize) {
  if (source == nullptr) {
    throw Vx::IllegalArgumentException("Invalid source: source buffer pointer is null.", __FILE__,
                                       __LINE__);
  }
  if (sourceSize == 0) {
    throw Vx::IllegalArgumentException("Invalid source: source buffer size is 0.", __FILE__,
                                       __LINE__);
  }
  if (target == nullptr && targetSize == nullptr) {
    throw Vx::IllegalArgumentException(
        "Invalid target: target buffer pointer is null and target size pointer is null.", __FILE__,
        __LINE__);
  }
}

// The size of a text of whole quartets, which has to fit the 32 bits of all sizes here.
unsigned int CheckTextSize(unsigned __int64 size) {
  if (size > std::numeric_limits<unsigned int>::max()) {
    throw Vx::IllegalArgumentException("Invalid source: source buffer size is too large.", __FILE__,
                                       __LINE__);
  }
  return static_cast<unsigned int>(size);
}

}  // namespace

void Base64::Encode(const char* source, unsigned int sourceSize, char** target,
                    unsigned int* targetSize) {
  CheckArguments(source, sourceSize, target, targetSize);
  const unsigned int size = CheckTextSize((sourceSize + 2ULL) / 3 * 4);
  if (target != nullptr) {
    Vx::ByteArray text = Vx::NewByteArray(size);
    EncodeBase64(GetBase64Kernel(), source, sourceSize, text.get());
    *target = text.release();
  }
  if (targetSize != nullptr) *targetSize = size;
}

void Base64::Decode(const char* source, unsigned int sourceSize, char** target,
                    unsigned int* targetSize) {
  CheckArguments(source, sourceSize, target, targetSize);
  const unsigned int textSize = CheckTextSize((sourceSize + 3ULL) / 4 * 4);
  Vx::ByteArray bytes = Vx::NewByteArray(std::size_t{textSize} / 4 * 3);
  const std::size_t size = DecodeBase64(GetBase64Kernel(), source, sourceSize, bytes.get());
  if (target != nullptr) *target = bytes.release();
  if (targetSize != nullptr) *targetSize = static_cast<unsigned int>(size);
}

}  // namespace Larkspan::Common

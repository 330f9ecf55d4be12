#pragma once

#include <cstddef>
#include <span>

namespace Larkspan::Common {

/// The inner loops of Base64 in one instruction set. Each takes whole groups off the front of its
/// source, as many as it likes; what it leaves goes through the loops that take all.
struct Base64Kernel {
  const char* name;

  /// Encodes triplets and returns the number of bytes taken. Nothing is read behind `source`, and
  /// nothing is written behind the text of what was taken.
  std::size_t (*encode)(const char* source, std::size_t size, char* target);

  /// Decodes quartets of alphabet characters, at most up to the first other one, and returns the
  /// number of characters taken. Behind the decoded bytes it may write anything into the space that
  /// `target` has for all of `source`, three bytes for each quartet begun.
  std::size_t (*decode)(const char* source, std::size_t size, char* target);
};

/// The kernel for any machine.
extern const Base64Kernel PortableBase64Kernel;

/// Those with vector instructions that this machine has, the fastest last.
[[nodiscard]] std::span<const Base64Kernel> GetVectorBase64Kernels() noexcept;

/// The fastest on this machine.
[[nodiscard]] const Base64Kernel& GetBase64Kernel() noexcept;

/// Encodes all of `source`; `target` has space for the text, padding included.
void EncodeBase64(const Base64Kernel& kernel, const char* source, std::size_t size,
                  char* target) noexcept;

/// Decodes `source` up to its end or the first `=`, and returns the number of bytes. `target` has
/// space for three bytes for each quartet begun.
[[nodiscard]] std::size_t DecodeBase64(const Base64Kernel& kernel, const char* source,
                                       std::size_t size, char* target) noexcept;

}  // namespace Larkspan::Common

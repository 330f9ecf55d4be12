#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "Larkspan/Common/Export.h"

/// Base64 as `Common::Base64` has it (RFC 4648, section 4), for bytes of any number, none too.
namespace Larkspan::Interop {

/// Throws `std::bad_alloc`, and `std::length_error` for a text that no string can hold.
[[nodiscard]] LARKSPAN_API std::string EncodeBase64(std::string_view bytes);
[[nodiscard]] inline std::string EncodeBase64(std::span<const std::byte> bytes) {
  return EncodeBase64(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

/// Takes any text: characters outside the alphabet are skipped, and the first `=` ends it.
[[nodiscard]] LARKSPAN_API std::string DecodeBase64(std::string_view text);

}  // namespace Larkspan::Interop

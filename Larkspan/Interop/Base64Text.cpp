#include "Larkspan/Interop/Base64Text.h"

#include "Larkspan/Common/Base64Codec.h"

namespace Larkspan::Interop {

std::string EncodeBase64(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '\0');
  Common::EncodeBase64(Common::GetBase64Kernel(), bytes.data(), bytes.size(), text.data());
  return text;
}

std::string DecodeBase64(std::string_view text) {
  std::string bytes((text.size() + 3) / 4 * 3, '\0');
  bytes.resize(
      Common::DecodeBase64(Common::GetBase64Kernel(), text.data(), text.size(), bytes.data()));
  return bytes;
}

}  // namespace Larkspan::Interop

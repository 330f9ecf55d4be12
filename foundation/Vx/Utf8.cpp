#include "foundation/Vx/Utf8.h"

#include "foundation/Vx/Utf16.h"

namespace Vx::Utf8 {
namespace {

struct Lead {
  std::size_t length;  // 0 where the byte can't begin a sequence
  char32_t bits;
  char32_t least;  // the smallest character that needs this length
};

Lead ReadLead(unsigned char byte) noexcept {
  if (byte < 0x80) return {1, byte, 0};
  if (byte >= 0xC0 && byte < 0xE0) return {2, byte & 0x1FU, 0x80};
  if (byte >= 0xE0 && byte < 0xF0) return {3, byte & 0x0FU, 0x800};
  if (byte >= 0xF0 && byte < 0xF8) return {4, byte & 0x07U, 0x10000};
  return {0, 0, 0};
}

bool IsAllowed(char32_t character, const Lead& lead, Form form) noexcept {
  if (character < lead.least) return form == Form::Java && character == 0 && lead.length == 2;
  if (character > 0x10FFFF) return false;
  return !Utf16::IsSurrogate(character) || form == Form::Java;
}

}  // namespace

Sequence Decode(std::string_view bytes, Form form) noexcept {
  const Lead lead = ReadLead(static_cast<unsigned char>(bytes.front()));
  if (lead.length == 0 || lead.length > bytes.size()) return {0, 0};
  char32_t character = lead.bits;
  for (std::size_t index = 1; index < lead.length; ++index) {
    const auto byte = static_cast<unsigned char>(bytes[index]);
    if ((byte & 0xC0U) != 0x80U) return {0, 0};
    character = (character << 6U) | (byte & 0x3FU);
  }
  if (!IsAllowed(character, lead, form)) return {0, 0};
  return {character, lead.length};
}

std::size_t Encode(char32_t character, char (&target)[4]) noexcept {
  const auto put = [&target](std::size_t index, char32_t bits) {
    target[index] = static_cast<char>(static_cast<unsigned char>(bits));
  };
  const auto tail = [character](unsigned int shift) {
    return 0x80U | ((character >> shift) & 0x3FU);
  };
  if (character < 0x80) {
    put(0, character);
    return 1;
  }
  if (character < 0x800) {
    put(0, 0xC0U | (character >> 6U));
    put(1, tail(0));
    return 2;
  }
  if (character < 0x10000) {
    put(0, 0xE0U | (character >> 12U));
    put(1, tail(6));
    put(2, tail(0));
    return 3;
  }
  put(0, 0xF0U | (character >> 18U));
  put(1, tail(12));
  put(2, tail(6));
  put(3, tail(0));
  return 4;
}

}  // namespace Vx::Utf8

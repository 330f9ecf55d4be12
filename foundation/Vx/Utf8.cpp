#include "foundation/Vx/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

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

// Decodes what comes before the first byte beyond ASCII, and returns its size.
std::size_t DecodeAscii(std::string_view bytes, char16_t* target) noexcept {
  constexpr std::size_t step = 8;
  std::size_t done = 0;
  for (; bytes.size() - done >= step; done += step) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data() + done, step);
    if ((word & 0x8080808080808080U) != 0) break;
    for (std::size_t i = 0; i < step; ++i) {
      target[done + i] = static_cast<unsigned char>(bytes[done + i]);
    }
  }
  for (; done < bytes.size(); ++done) {
    const auto byte = static_cast<unsigned char>(bytes[done]);
    if (byte >= 0x80) break;
    target[done] = byte;
  }
  return done;
}

// Goes on over sequences of two and three bytes that are well-formed and stand for no surrogate:
// what `Decode` takes in every form, faster.
void DecodeCommon(std::string_view bytes, std::span<char16_t> target, Progress& done) noexcept {
  while (bytes.size() - done.bytes >= 3 && done.units < target.size()) {
    const auto get = [next = bytes.data() + done.bytes](std::size_t index) {
      return std::uint32_t{static_cast<unsigned char>(next[index])};
    };
    const std::uint32_t two = ((get(0) & 0x1FU) << 6U) | (get(1) & 0x3FU);
    const std::uint32_t three =
        ((get(0) & 0x0FU) << 12U) | ((get(1) & 0x3FU) << 6U) | (get(2) & 0x3FU);
    const bool hasTail = (get(1) & 0xC0U) == 0x80U;
    if ((get(0) & 0xE0U) == 0xC0U && hasTail && two >= 0x80) {
      target[done.units] = static_cast<char16_t>(two);
      done.bytes += 2;
    } else if ((get(0) & 0xF0U) == 0xE0U && hasTail && (get(2) & 0xC0U) == 0x80U &&
               three >= 0x800 && !Utf16::IsSurrogate(three)) {
      target[done.units] = static_cast<char16_t>(three);
      done.bytes += 3;
    } else {
      return;
    }
    ++done.units;
  }
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

Progress DecodeSome(std::string_view bytes, Form form, std::span<char16_t> target) noexcept {
  Progress done{0, 0};
  while (done.bytes < bytes.size()) {
    const std::size_t room = target.size() - done.units;
    const std::size_t ascii =
        DecodeAscii(bytes.substr(done.bytes, room), target.data() + done.units);
    done.bytes += ascii;
    done.units += ascii;
    DecodeCommon(bytes, target, done);
    if (done.bytes == bytes.size() || target.size() - done.units < 2) break;
    const Sequence next = Decode(bytes.substr(done.bytes), form);
    if (next.length == 0) break;
    char16_t units[2];
    const std::size_t count = Utf16::Encode(next.character, units);
    std::copy_n(units, count, target.data() + done.units);
    done.bytes += next.length;
    done.units += count;
  }
  return done;
}

std::size_t GetJavaSize(std::u16string_view text) noexcept {
  std::size_t size = 0;
  for (const char16_t unit : text) {
    // U+0000 takes two bytes.
    size += 1U + (static_cast<char16_t>(unit - 1U) >= 0x7F ? 1U : 0U) + (unit >= 0x800 ? 1U : 0U);
  }
  return size;
}

char* EncodeJava(std::u16string_view text, char* target) noexcept {
  const auto put = [&target](std::uint32_t bits) {
    *target++ = static_cast<char>(static_cast<unsigned char>(bits));
  };
  for (const std::uint32_t unit : text) {
    if (unit != 0 && unit < 0x80) {
      put(unit);
    } else if (unit < 0x800) {
      put(0xC0U | (unit >> 6U));
      put(0x80U | (unit & 0x3FU));
    } else {
      put(0xE0U | (unit >> 12U));
      put(0x80U | ((unit >> 6U) & 0x3FU));
      put(0x80U | (unit & 0x3FU));
    }
  }
  return target;
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

#include "Larkspan/Common/Base64Codec.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace Larkspan::Common {
namespace {

// RFC 4648, table 1.
constexpr std::string_view Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
static_assert(Alphabet.size() == 64);

constexpr unsigned char Foreign = 0xFF;

// The value of each alphabet character; `Foreign` for the others, `=` included.
constexpr std::array<unsigned char, 128> Values = [] {
  std::array<unsigned char, 128> values{};
  values.fill(Foreign);
  for (std::size_t value = 0; value < Alphabet.size(); ++value) {
    values[static_cast<unsigned char>(Alphabet[value])] = static_cast<unsigned char>(value);
  }
  return values;
}();

std::uint32_t ToByte(char character) noexcept {
  return static_cast<unsigned char>(character);
}

std::uint32_t GetValue(char character) noexcept {
  return ToByte(character) < Values.size() ? Values[ToByte(character)] : Foreign;
}

// The character of the 6 bits that begin at `shift`.
char GetCharacter(std::uint32_t bits, unsigned int shift) noexcept {
  return Alphabet[bits >> shift & 63U];
}

// The low 24 bits, high byte first.
void PutTriplet(std::uint32_t bits, char* target) noexcept {
  target[0] = static_cast<char>(static_cast<unsigned char>(bits >> 16U));
  target[1] = static_cast<char>(static_cast<unsigned char>(bits >> 8U));
  target[2] = static_cast<char>(static_cast<unsigned char>(bits));
}

std::size_t EncodeTriplets(const char* source, std::size_t size, char* target) {
  std::size_t taken = 0;
  for (; size - taken >= 3; taken += 3, source += 3, target += 4) {
    const std::uint32_t bits =
        ToByte(source[0]) << 16U | ToByte(source[1]) << 8U | ToByte(source[2]);
    target[0] = GetCharacter(bits, 18);
    target[1] = GetCharacter(bits, 12);
    target[2] = GetCharacter(bits, 6);
    target[3] = GetCharacter(bits, 0);
  }
  return taken;
}

std::size_t DecodeQuartets(const char* source, std::size_t size, char* target) {
  std::size_t taken = 0;
  for (; size - taken >= 4; taken += 4, source += 4, target += 3) {
    const std::uint32_t quartet[] = {ToByte(source[0]), ToByte(source[1]), ToByte(source[2]),
                                     ToByte(source[3])};
    if ((quartet[0] | quartet[1] | quartet[2] | quartet[3]) >= Values.size()) break;
    const std::uint32_t first = Values[quartet[0]];
    const std::uint32_t second = Values[quartet[1]];
    const std::uint32_t third = Values[quartet[2]];
    const std::uint32_t fourth = Values[quartet[3]];
    if ((first | second | third | fourth) == Foreign) break;
    PutTriplet(first << 18U | second << 12U | third << 6U | fourth, target);
  }
  return taken;
}

// The one or two bytes behind the last triplet, as a padded quartet.
void EncodeRest(const char* source, std::size_t size, char* target) noexcept {
  if (size == 0) return;
  const std::uint32_t bits = ToByte(source[0]) << 16U | (size == 2 ? ToByte(source[1]) << 8U : 0U);
  target[0] = GetCharacter(bits, 18);
  target[1] = GetCharacter(bits, 12);
  target[2] = size == 2 ? GetCharacter(bits, 6) : '=';
  target[3] = '=';
}

// The whole bytes in the quartet that an `=` ends behind `count` characters; returns their number.
std::size_t DecodeRest(std::uint32_t bits, unsigned int count, char* target) noexcept {
  if (count < 2) return 0;
  char triplet[3];
  PutTriplet(bits << (6U * (4U - count)), triplet);
  for (unsigned int index = 0; index + 1 < count; ++index) target[index] = triplet[index];
  return count - 1;
}

// Decodes one quartet, past whatever foreign stands in it, and returns the number of its bytes.
// Moves `source` behind it, or to `end` where an `=` ends the text. What the end of the source
// truncates yields nothing.
std::size_t DecodeQuartet(const char*& source, const char* end, char* target) noexcept {
  std::uint32_t bits = 0;
  unsigned int count = 0;
  while (source != end) {
    const char character = *source++;
    if (character == '=') {
      source = end;
      return DecodeRest(bits, count, target);
    }
    const std::uint32_t value = GetValue(character);
    if (value == Foreign) continue;
    bits = bits << 6U | value;
    if (++count < 4) continue;
    PutTriplet(bits, target);
    return 3;
  }
  return 0;
}

}  // namespace

const Base64Kernel PortableBase64Kernel{"portable", EncodeTriplets, DecodeQuartets};

const Base64Kernel& GetBase64Kernel() noexcept {
  const std::span<const Base64Kernel> vectors = GetVectorBase64Kernels();
  return vectors.empty() ? PortableBase64Kernel : vectors.back();
}

void EncodeBase64(const Base64Kernel& kernel, const char* source, std::size_t size,
                  char* target) noexcept {
  std::size_t taken = kernel.encode(source, size, target);
  taken += EncodeTriplets(source + taken, size - taken, target + taken / 3 * 4);
  EncodeRest(source + taken, size - taken, target + taken / 3 * 4);
}

std::size_t DecodeBase64(const Base64Kernel& kernel, const char* source, std::size_t size,
                         char* target) noexcept {
  const char* const end = source + size;
  char* next = target;
  while (source != end) {
    const std::size_t taken = kernel.decode(source, static_cast<std::size_t>(end - source), next);
    source += taken;
    next += taken / 4 * 3;
    // Something foreign stands in the next quartet, or the end is near. Behind that quartet,
    // wherever it ends, the kernel goes on: lines of any length keep its pace.
    next += DecodeQuartet(source, end, next);
  }
  return static_cast<std::size_t>(next - target);
}

}  // namespace Larkspan::Common

#include <array>
#include <vector>

#include "Larkspan/Common/Base64Codec.h"
#include "fuzz/Target.h"

namespace {

using Larkspan::Common::Base64Kernel;

// The value of each character, and 64 for those that have none.
std::array<unsigned char, 256> MakeValues() {
  const std::string_view alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<unsigned char, 256> values;
  values.fill(64);
  for (unsigned char value = 0; value < 64; ++value) {
    values[static_cast<unsigned char>(alphabet[value])] = value;
  }
  return values;
}

// Bit by bit, as RFC 4648 tells it; a last quartet that is incomplete counts only before an `=`.
std::string DecodeBitByBit(std::string_view text) {
  static const std::array<unsigned char, 256> values = MakeValues();
  std::string bytes;
  std::uint32_t bits = 0;
  unsigned int held = 0;
  for (const char character : text) {
    if (character == '=') return bytes;
    const unsigned char value = values[static_cast<unsigned char>(character)];
    if (value == 64) continue;
    bits = bits << 6U | value;
    held = (held + 6) % 8;
    if (held < 6) bytes += static_cast<char>(static_cast<unsigned char>(bits >> held));
  }
  return bytes.substr(0, bytes.size() / 3 * 3);
}

// Source and target are exactly as large as they have to be, for the sanitizers to see.
void Check(const Base64Kernel& kernel, std::string_view bytes) {
  const std::vector<char> source(bytes.begin(), bytes.end());
  std::vector<char> decoded((bytes.size() + 3) / 4 * 3);
  const std::size_t size = DecodeBase64(kernel, source.data(), source.size(), decoded.data());
  Fuzz::Require(std::string_view(decoded.data(), size) == DecodeBitByBit(bytes),
                "every kernel decodes as bit by bit");
  std::vector<char> encoded((bytes.size() + 2) / 3 * 4);
  EncodeBase64(kernel, source.data(), source.size(), encoded.data());
  const std::string_view text(encoded.data(), encoded.size());
  const std::size_t padding = (3 - bytes.size() % 3) % 3;
  Fuzz::Require(text.find('=') == (padding == 0 ? std::string::npos : text.size() - padding),
                "a text has the padding that its size asks for, and no other");
  Fuzz::Require(DecodeBitByBit(text) == bytes, "every kernel encodes what decodes bit by bit");
}

}  // namespace

/// Base64 in every set of instructions that this machine has, both ways; also the beginning of the
/// text up to a place that the input chooses, and what an intruder there makes of it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = Fuzz::ToView(data, size);
  const auto vectors = Larkspan::Common::GetVectorBase64Kernels();
  std::vector<Base64Kernel> kernels(vectors.begin(), vectors.end());
  kernels.push_back(Larkspan::Common::PortableBase64Kernel);
  const std::size_t place = size == 0 ? 0 : data[size - 1] % (size + 1);
  for (const Base64Kernel& kernel : kernels) {
    Check(kernel, input);
    Check(kernel, input.substr(0, place));
    for (const char intruder : {'=', '\n', '\x80', '-', '\0', 'A'}) {
      Check(kernel, std::string(input).insert(place, 1, intruder));
    }
  }
  return 0;
}

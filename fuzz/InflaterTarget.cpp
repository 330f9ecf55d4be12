#include "fuzz/Target.h"
#include "tests/support/PlainInflater.h"

/// Decompression, against its plain form: what is read and what is taken from the source are the
/// same at each step, wherever the bytes lie and however they come.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes = Fuzz::ToView(data, size);
  const unsigned int first = Fuzz::TakeByte(bytes);
  const unsigned int bufferSize = first < 128 ? first + 1 : 512 + (first - 128) * 4;
  const unsigned int seed = Fuzz::TakeByte(bytes);
  for (const std::size_t piece : {0U, 5U, 1U << 17U}) {
    const std::string difference =
        Tests::CompareWithPlainForm(std::string(bytes), piece, bufferSize, seed);
    Fuzz::Require(difference.empty(), difference.c_str());
  }
  return 0;
}

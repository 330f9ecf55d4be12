#include <zlib.h>

#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "fuzz/Target.h"

namespace {

using Larkspan::Common::IO::InflaterIBinaryChannel;

struct Result {
  std::string data;
  bool isComplete = false;
  unsigned __int64 rest = 0;

  bool operator==(const Result&) const = default;
};

Result Inflate(Vx::IBinaryChannel&& source, unsigned int bufferSize, unsigned int piece) {
  InflaterIBinaryChannel channel(source, bufferSize);
  Result result;
  std::string buffer(4096, '\0');
  try {
    // Small reads and large ones take turns.
    for (unsigned int step = 0; !result.isComplete; ++step) {
      const unsigned int wanted = step % 3 == 2 ? 7 : piece;
      const unsigned int count = channel.Read(buffer.data(), wanted, Vx::IBinaryChannel::ReadSome);
      result.data.append(buffer, 0, count);
      result.isComplete = count == 0;
    }
  } catch (const Vx::IOException&) {
    // What came before it is compared.
  }
  result.rest = source.GetAvailable();
  return result;
}

}  // namespace

/// Decompression, against zlib over the whole input: the same data and the same verdict; data in
/// front of damage may come short, but never wrong. Input that lies in memory must make no
/// difference, neither to what is read nor to what is taken from the source.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes = Fuzz::ToView(data, size);
  const unsigned int first = Fuzz::TakeByte(bytes);
  const unsigned int bufferSize = first < 128 ? first + 1 : 512 + (first - 128) * 4;
  const unsigned int piece = Fuzz::TakeByte(bytes) * 16 + 1;
  const std::string copy(bytes);
  const auto count = static_cast<unsigned int>(bytes.size());
  std::string expected(1U << 17U, '\0');
  uLongf written = expected.size();
  const int verdict = uncompress(reinterpret_cast<Bytef*>(expected.data()), &written,
                                 reinterpret_cast<const Bytef*>(copy.data()), copy.size());
  if (verdict == Z_BUF_ERROR) return 0;
  expected.resize(written);
  const Result memory = Inflate(Vx::MemoryIBinaryChannel(copy.data(), count), bufferSize, piece);
  const Result whole = Inflate(Tests::PiecewiseInput(copy), bufferSize, piece);
  Fuzz::Require(memory == whole, "memory makes no difference");
  for (const Result& result : {whole, Inflate(Tests::PiecewiseInput(copy, 5), bufferSize, piece)}) {
    Fuzz::Require(result.isComplete == (verdict == Z_OK), "the verdict is that of zlib");
    Fuzz::Require(expected.starts_with(result.data), "the data is that of zlib");
    Fuzz::Require(!result.isComplete || result.data == expected, "and all of it");
  }
  return 0;
}

#include <zlib.h>

#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "foundation/Vx/BufferedIBinaryChannel.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "fuzz/Target.h"

namespace {

constexpr std::size_t MaxDataSize = 1U << 17U;

struct Result {
  std::string data;
  bool complete = false;
};

Result InflateInOnePiece(std::string bytes) {
  Result result;
  result.data.resize(MaxDataSize);
  z_stream stream = {};
  stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data.data());
  stream.avail_out = static_cast<uInt>(result.data.size());
  Fuzz::Require(inflateInit(&stream) == Z_OK, "there is memory");
  result.complete = inflate(&stream, Z_FINISH) == Z_STREAM_END;
  result.data.resize(MaxDataSize - stream.avail_out);
  inflateEnd(&stream);
  return result;
}

Result InflateByChannel(Vx::IBinaryChannel& source, unsigned int bufferSize, unsigned int piece) {
  Larkspan::Common::IO::InflaterIBinaryChannel channel(source, bufferSize);
  Result result;
  try {
    Fuzz::ReadInto(result.data, channel, piece, MaxDataSize);
    result.complete = channel.GetAvailable() == 0;
    channel.Close();
  } catch (const Vx::IOException&) {
    result.complete = false;
  }
  return result;
}

}  // namespace

/// Decompression, against zlib over the whole input: the same data and the same verdict. Data in
/// front of damage may come short, but never wrong.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes = Fuzz::ToView(data, size);
  const unsigned int bufferSize = Fuzz::TakeByte(bytes) + 1;
  const unsigned int piece = Fuzz::TakeByte(bytes) * 16 + 1;
  const Result expected = InflateInOnePiece(std::string(bytes));
  if (expected.data.size() == MaxDataSize) return 0;
  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
  Fuzz::PiecewiseSource pieces(bytes, piece);
  Fuzz::PiecewiseSource beneath(bytes, 5);
  Vx::BufferedIBinaryChannel buffered(beneath, piece);
  Vx::IBinaryChannel* const sources[] = {&memory, &pieces, &buffered};
  for (Vx::IBinaryChannel* const source : sources) {
    const Result result = InflateByChannel(*source, bufferSize, piece);
    Fuzz::Require(result.complete == expected.complete, "the verdict is that of zlib");
    Fuzz::Require(
        expected.complete ? result.data == expected.data : expected.data.starts_with(result.data),
        "the data is that of zlib");
  }
  return 0;
}

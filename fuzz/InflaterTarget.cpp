#include <zlib.h>

#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "fuzz/Target.h"

namespace {

using Larkspan::Common::IO::InflaterIBinaryChannel;

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

// One read; false at the end of the data, and where the read fails.
bool ReadOnce(InflaterIBinaryChannel& channel, unsigned int size, Result& result) {
  std::string buffer(size, '\0');
  try {
    const unsigned int count = channel.Read(buffer.data(), size, Vx::IBinaryChannel::ReadSome);
    result.data.append(buffer, 0, count);
    result.complete = count == 0;
    return count != 0;
  } catch (const Vx::IOException&) {
    return false;
  }
}

void Compare(const Result& result, const Result& expected) {
  Fuzz::Require(result.complete == expected.complete, "the verdict is that of zlib");
  Fuzz::Require(
      expected.complete ? result.data == expected.data : expected.data.starts_with(result.data),
      "the data is that of zlib");
}

}  // namespace

/// Decompression, against zlib over the whole input: the same data and the same verdict; data in
/// front of damage may come short, but never wrong. Input that lies in memory must make no
/// difference at any read, neither to what is read nor to what is taken from the source.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes = Fuzz::ToView(data, size);
  const unsigned int first = Fuzz::TakeByte(bytes);
  const unsigned int bufferSize = first < 128 ? first + 1 : 512 + (first - 128) * 4;
  const unsigned int piece = Fuzz::TakeByte(bytes) * 16 + 1;
  const Result expected = InflateInOnePiece(std::string(bytes));
  if (expected.data.size() == MaxDataSize) return 0;

  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
  Fuzz::PiecewiseSource whole(bytes, std::string::npos);
  Fuzz::PiecewiseSource pieces(bytes, 5);
  InflaterIBinaryChannel fromMemory(memory, bufferSize);
  InflaterIBinaryChannel fromWhole(whole, bufferSize);
  InflaterIBinaryChannel fromPieces(pieces, bufferSize);
  Result results[3];
  // Small reads and large ones take turns.
  for (unsigned int step = 0;; ++step) {
    const unsigned int wanted = step % 3 == 2 ? 7 : piece;
    const bool more = ReadOnce(fromMemory, wanted, results[0]);
    Fuzz::Require(ReadOnce(fromWhole, wanted, results[1]) == more, "reads go alike");
    Fuzz::Require(results[0].data == results[1].data, "reads give the same");
    Fuzz::Require(memory.GetAvailable() == whole.GetAvailable(), "reads take the same");
    if (!more) break;
  }
  while (ReadOnce(fromPieces, piece, results[2])) {
  }
  for (const Result& result : results) Compare(result, expected);
  return 0;
}

#pragma once

#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include <zlib.h>

#include "Larkspan/Common/IO/CountingIBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/support/FailureOf.h"
#include "tests/support/PiecewiseInput.h"

namespace Tests {

/// The inflater in its plainest form: one buffer, one copy, a refill as soon as the buffer is used
/// up.
class PlainInflater final {
 public:
  PlainInflater(Vx::IBinaryChannel& channel, unsigned int bufferSize)
      : source(channel), input(bufferSize, '\0'), output(bufferSize, '\0') {
    inflateInit(&stream);
  }
  PlainInflater& operator=(PlainInflater&&) = delete;
  ~PlainInflater() { inflateEnd(&stream); }

  std::size_t Read(char* buffer, std::size_t size, Vx::IBinaryChannel::ReadSomeModeSelector) {
    std::size_t total = 0;
    while (GetAvailable() != 0 && total < size) {
      const std::size_t count = rest.copy(buffer + total, size - total);
      rest.remove_prefix(count);
      total += count;
    }
    return total;
  }
  std::size_t GetAvailable() {
    if (rest.empty() && !ended) Fill();
    return rest.size();
  }

 private:
  void Fill() {
    stream.avail_out = static_cast<uInt>(output.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    while (stream.avail_out != 0 && !ended) {
      if (stream.avail_in == 0) {
        stream.next_in = reinterpret_cast<Bytef*>(input.data());
        stream.avail_in = source.Read(input.data(), static_cast<unsigned int>(input.size()),
                                      Vx::IBinaryChannel::ReadSome);
        if (stream.avail_in == 0) throw Vx::IOException("Inflate failed: end of stream reached.");
      }
      const int result = inflate(&stream, Z_NO_FLUSH);
      ended = result == Z_STREAM_END;
      const std::string failure = std::string("Inflate failed: ") + zError(result);
      if (result != Z_OK && !ended) throw Vx::IOException(failure.c_str());
    }
    rest = std::string_view(output).substr(0, output.size() - stream.avail_out);
  }

  Vx::IBinaryChannel& source;
  std::string input;
  std::string output;
  z_stream stream{};
  std::string_view rest;
  bool ended = false;
};

/// What `inflater` gives, read in steps of `step` bytes up to its end or its first failure.
template <class Inflater>
std::string InflateAll(Inflater& inflater, std::size_t step, bool& fails) {
  std::string data;
  fails = !FailureOf([&] {
             std::string piece(step, '\0');
             for (std::size_t count = step; count != 0;) {
               count = inflater.Read(piece.data(), static_cast<unsigned int>(step),
                                     Vx::IBinaryChannel::ReadSome);
               data.append(piece, 0, count);
             }
           }).empty();
  return data;
}

/// A stream that is damaged or cut fails through the library's inflater too. When it does, and with
/// which of the last bytes, depends on how much room zlib has for its output at a time. Gives what
/// differs, or "".
inline std::string CompareDamaged(const std::string& bytes, const std::string& before,
                                  unsigned int bufferSize, unsigned int seed) {
  constexpr std::size_t steps[] = {17, 64, 4096, 65536};
  PiecewiseInput source(bytes);
  Larkspan::Common::IO::InflaterIBinaryChannel inflater(source, bufferSize);
  bool fails = false;
  const std::string data = InflateAll(inflater, steps[seed % std::size(steps)], fails);
  if (!fails) return "takes a damaged stream for a whole one";
  if (!data.starts_with(before) && !before.starts_with(data)) return "gives other data";
  return "";
}

/// Reads `bytes` through the library's inflater and the plain one with the same random sizes until
/// the end, and on past some failures, and compares all that the caller and the source see at each
/// step. With `piece` 0 the bytes lie in memory, where the inflater can peek into them. Gives what
/// differs, with the seed, or "".
inline std::string CompareWithPlainForm(const std::string& bytes, std::size_t piece,
                                        unsigned int bufferSize, unsigned int seed,
                                        std::size_t breakAt = std::string::npos) {
  PiecewiseInput whole(bytes);
  PlainInflater judge(whole, 1024);
  bool isDamaged = false;
  const std::string before = InflateAll(judge, 1024, isDamaged);
  if (isDamaged) return CompareDamaged(bytes, before, bufferSize, seed);

  constexpr unsigned int sizes[] = {1, 0, 2, 63, 64, 65, 500, 1023, 1024, 1025, 4096, 65536};
  PiecewiseInput pieces(bytes, piece, breakAt);
  PiecewiseInput plainPieces(bytes, piece == 0 ? bytes.size() : piece, breakAt);
  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
  namespace Channels = Larkspan::Common::IO;
  Channels::CountingIBinaryChannel counter(piece == 0 ? static_cast<Vx::IBinaryChannel&>(memory)
                                                      : pieces);
  Channels::InflaterIBinaryChannel real(counter, bufferSize);
  PlainInflater plain(plainPieces, bufferSize);
  std::minstd_rand random(seed + 1);
  for (int stops = 3; stops > 0;) {
    const unsigned int size = sizes[random() % std::size(sizes)];
    const bool asks = random() % 4 == 0;
    const auto step = [&](auto& inflater) {
      std::string data(size, '\0');
      const std::string failure = FailureOf([&] {
        if (asks) data = std::to_string(inflater.GetAvailable());
        if (!asks) data.resize(inflater.Read(data.data(), size, Vx::IBinaryChannel::ReadSome));
      });
      return failure.empty() ? data : failure;
    };
    const std::string outcome = step(real);
    const std::string with = " with the seed " + std::to_string(seed);
    if (outcome != step(plain)) return "gives other data" + with + ": " + outcome.substr(0, 100);
    if (piece != 0 && pieces.asked != plainPieces.asked) return "asks for other sizes" + with;
    if (counter.GetCount() != plainPieces.GetPosition()) return "takes more or less" + with;
    if ((outcome.empty() && size != 0) || outcome.starts_with("IOException: ")) --stops;
  }
  return "";
}

}  // namespace Tests

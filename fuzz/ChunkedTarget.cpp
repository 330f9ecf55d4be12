#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "foundation/Vx/ChunkedIBinarySubChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "fuzz/Target.h"
#include "tests/support/FailureOf.h"

namespace {

using namespace Larkspan::Common::IO;

// The data, and how many bytes are left behind the ending frame, or "cut".
using Reading = std::pair<std::string, std::string>;

// What the framing says, read off the bytes directly.
Reading Parse(std::string_view bytes) {
  std::string data;
  while (bytes.size() >= 4) {
    std::size_t length = 0;
    for (int index = 0; index < 4; ++index) length = length << 8U | Fuzz::TakeByte(bytes);
    if (length == 0) return {data, std::to_string(bytes.size())};
    data += bytes.substr(0, length);
    bytes.remove_prefix(std::min(length, bytes.size()));
  }
  return {data, "cut"};
}

Reading Read(Vx::IBinaryChannel&& source, unsigned int piece) {
  Vx::ChunkedIBinarySubChannel channel(source, JavaDataInputProtocolX::GetInstance());
  Reading reading{"", "cut"};
  const std::string failure = Tests::FailureOf([&] {
    Tests::ReadInto(reading.first, channel, piece);
    channel.Close();
    reading.second = std::to_string(source.GetAvailable());
  });
  Fuzz::Require(failure.empty() || failure.starts_with("EndOfInputException"), "a cut is the end");
  return reading;
}

}  // namespace

/// The chunked framing: any bytes are read as what they say.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes = Fuzz::ToView(data, size);
  const unsigned int piece = Fuzz::TakeByte(bytes) + 1;
  const Reading expected = Parse(bytes);
  const auto count = static_cast<unsigned int>(bytes.size());
  const Reading fromMemory = Read(Vx::MemoryIBinaryChannel(bytes.data(), count), piece);
  Fuzz::Require(fromMemory == expected, "the framing is read as it is");
  const Reading fromPieces = Read(Tests::PiecewiseInput(std::string(bytes), piece), 4096);
  Fuzz::Require(fromPieces == expected, "cuts do not show");
  return 0;
}

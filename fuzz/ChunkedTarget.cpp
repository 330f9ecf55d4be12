#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "foundation/Vx/BufferedIBinaryChannel.h"
#include "foundation/Vx/ChunkedIBinarySubChannel.h"
#include "foundation/Vx/ChunkedOBinarySubChannel.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"
#include "fuzz/Target.h"

namespace {

using Larkspan::Common::IO::JavaDataInputProtocolX;
using Larkspan::Common::IO::JavaDataOutputProtocolX;

struct Reading {
  std::string data;
  std::string_view rest;  // behind the ending frame
  bool complete = false;

  bool operator==(const Reading&) const = default;
};

// What the framing says, read off the bytes directly.
Reading Parse(std::string_view bytes) {
  Reading reading;
  while (bytes.size() >= 4) {
    std::size_t length = 0;
    for (int index = 0; index < 4; ++index) length = length << 8U | Fuzz::TakeByte(bytes);
    if (length == 0) {
      reading.complete = true;
      reading.rest = bytes;
      return reading;
    }
    reading.data += bytes.substr(0, length);
    bytes.remove_prefix(std::min(length, bytes.size()));
  }
  return reading;
}

Reading Read(std::string_view bytes, Vx::IBinaryChannel& source, unsigned int piece) {
  Vx::ChunkedIBinarySubChannel channel(source, JavaDataInputProtocolX::GetInstance());
  Reading reading;
  try {
    Fuzz::ReadInto(reading.data, channel, piece);
    channel.Close();
    reading.complete = true;
    reading.rest = bytes.substr(bytes.size() - source.GetAvailable());
  } catch (const Vx::EndOfInputException&) {
    reading.complete = false;
  }
  return reading;
}

std::string Write(std::string_view data, unsigned int chunkSize, std::size_t piece) {
  Vx::MemoryOBinaryChannel target;
  Vx::ChunkedOBinarySubChannel channel(target, JavaDataOutputProtocolX::GetInstance(), chunkSize);
  for (std::string_view rest = data; !rest.empty();
       rest.remove_prefix(std::min(piece, rest.size()))) {
    channel.Write(rest.data(), static_cast<unsigned int>(std::min(piece, rest.size())));
  }
  channel.Close();
  return {target.GetBuffer(), target.GetSize()};
}

}  // namespace

/// The chunked framing: any bytes read as what they say, and any data comes back.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes = Fuzz::ToView(data, size);
  const unsigned int piece = Fuzz::TakeByte(bytes) + 1;
  const Reading expected = Parse(bytes);
  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
  Fuzz::PiecewiseSource pieces(bytes, piece);
  Fuzz::PiecewiseSource beneath(bytes, 5);
  Vx::BufferedIBinaryChannel buffered(beneath, piece);
  Fuzz::Require(Read(bytes, memory, piece) == expected, "the framing is read as it is");
  Fuzz::Require(Read(bytes, pieces, 4096) == expected, "the framing is read as it is");
  Fuzz::Require(Read(bytes, buffered, 3) == expected, "the framing is read as it is");

  const std::string written = Write(bytes, piece, 3);
  Fuzz::Require(written == Write(bytes, piece, size), "cuts of the writes leave no trace");
  Fuzz::PiecewiseSource source(written, piece);
  const Reading back = Read(written, source, 7);
  Fuzz::Require(back.complete && back.data == bytes && back.rest.empty(), "data comes back");
  return 0;
}

// Values on a channel that reports by status: written by one family of protocols, read by the
// other.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "Larkspan/Common/IO/JavaDataInputProtocol.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocol.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "Larkspan/Interop/Values.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"
#include "foundation/Vx/OChannelX.h"

using namespace Larkspan::Common::IO;

namespace {

/// Appends to `bytes`.
class StringOutput final : public Vx::OChannel {
 public:
  explicit StringOutput(std::string& target)
      : OChannel(JavaDataOutputProtocol::GetInstance()), bytes(target) {}
  int WriteBin(const char* source, unsigned int count, unsigned int* written) override {
    bytes.append(source, count);
    if (written != nullptr) *written = count;
    return Vx::StatusSuccess;
  }

 private:
  std::string& bytes;
};

/// Reads from `bytes`.
class StringInput final : public Vx::IChannel {
 public:
  explicit StringInput(const std::string& source)
      : IChannel(JavaDataInputProtocol::GetInstance()), bytes(source) {}
  int ReadBin(char* target, unsigned int count, unsigned int* delivered) override {
    const std::size_t copied = bytes.copy(target, count, position);
    position += copied;
    if (delivered != nullptr) *delivered = static_cast<unsigned int>(copied);
    return copied == count ? Vx::StatusSuccess : Vx::StatusEndOfInput;
  }

 private:
  const std::string& bytes;
  std::size_t position = 0;
};

/// An object that reads and writes itself.
class Point final : public Vx::Object {
 public:
  Point() = default;
  Point(int horizontal, int vertical) : x(horizontal), y(vertical) {}
  int ReadFrom(Vx::IChannel& channel) override {
    Point read;
    int status = channel.Read(read.x);
    if (status == Vx::StatusSuccess) status = channel.Read(read.y);
    if (status == Vx::StatusSuccess) *this = read;
    return status;
  }
  int WriteTo(Vx::OChannel& channel) const override {
    const int status = channel.Write(x);
    return status == Vx::StatusSuccess ? channel.Write(y) : status;
  }

  int x = 0;
  int y = 0;
};

// Through the channel, which asks its protocol, or through the protocol itself: the latter writes
// a text and a point alike, as objects.
int WriteAll(Vx::OChannel& channel) {
  Vx::OProtocol& protocol = channel.GetProtocol();
  int status = channel.Write(true);
  if (status == Vx::StatusSuccess) status = channel.Write(-2.5);
  if (status == Vx::StatusSuccess) status = WriteUTF(channel, u"Grüße");
  if (status == Vx::StatusSuccess) status = protocol.Write(channel, Vx::UniString(u"as an object"));
  if (status == Vx::StatusSuccess) status = channel.Write("bytes");
  if (status == Vx::StatusSuccess) status = protocol.Write(channel, Point(3, -4));
  // Pointers leave no trace.
  if (status == Vx::StatusSuccess) status = channel.Write(static_cast<const void*>(&channel));
  return status;
}

bool ReadByStatus(const std::string& bytes) {
  StringInput channel(bytes);
  Vx::IProtocol& protocol = channel.GetProtocol();
  bool flag = false;
  double number = 0;
  Vx::UniString first;
  Vx::UniString second;
  char third[65536];  // the longest text that a channel can hold
  Point point;
  const bool isRead = channel.Read(flag) == 0 && channel.Read(number) == 0 &&
                      ReadUTF(channel, first) == 0 && protocol.Read(channel, second) == 0 &&
                      protocol.Read(channel, third) == 0 && protocol.Read(channel, point) == 0;
  std::printf("%d %g \"%s\" \"%s\" \"%s\" (%d, %d)\n", flag, number, first.ToUTF8().c_str(),
              second.ToUTF8().c_str(), third, point.x, point.y);
  return isRead && flag && number == -2.5 && first == u"Grüße" && second == u"as an object" &&
         std::strcmp(third, "bytes") == 0 && point.x == 3 && point.y == -4 &&
         channel.Read(flag) == Vx::StatusEndOfInput;
}

// The same bytes, with failures as exceptions.
bool ReadByException(const std::string& bytes) {
  Vx::MemoryIBinaryChannel source(bytes.data(), static_cast<unsigned int>(bytes.size()));
  Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
  bool flag = false;
  double number = 0;
  channel.Read(flag);
  channel.Read(number);
  return flag && number == -2.5 && ReadUTF(channel) == u"Grüße";
}

void WriteSize(Vx::OChannelX& channel, std::int64_t size) {
  Larkspan::Interop::WriteInt64(channel, size);
}

std::int64_t ReadSize(Vx::IChannelX& channel) {
  return Larkspan::Interop::ReadInt64(channel);
}

// A size that takes more than the four bytes which a `long` has on a channel.
bool SizeComesBack() {
  constexpr std::int64_t size = 5'000'000'000;
  Vx::MemoryOBinaryChannel target;
  Vx::OChannelX output(target, JavaDataOutputProtocolX::GetInstance());
  WriteSize(output, size);
  Vx::MemoryIBinaryChannel source(target.GetBuffer(), target.GetSize());
  Vx::IChannelX input(source, JavaDataInputProtocolX::GetInstance());
  return ReadSize(input) == size;
}

}  // namespace

int main() {
  try {
    std::string bytes;
    StringOutput channel(bytes);
    if (WriteAll(channel) == 0 && ReadByStatus(bytes) && ReadByException(bytes) &&
        SizeComesBack()) {
      return 0;
    }
    std::fprintf(stderr, "Something did not come back as it was.\n");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
  }
  return 1;
}

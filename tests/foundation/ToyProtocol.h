#pragma once

#include <algorithm>
#include <bit>
#include <string>
#include <utility>

#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IChannel.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/OChannel.h"
#include "foundation/Vx/OChannelX.h"

/// The smallest protocol that the channel classes can be used with, both ways and for both kinds
/// of channels: every value as its bytes in memory, the most significant first.
namespace Tests {

// From the order in memory, and back.
inline std::string Turned(std::string bytes) {
  if (std::endian::native == std::endian::little) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

// Each layer overrides the operations for one type.
template <class... Types>
class ToyProtocol : public Vx::OProtocolX,
                    public Vx::IProtocolX,
                    public Vx::OProtocol,
                    public Vx::IProtocol {
 public:
  using IProtocol::Read;
  using IProtocolX::Read;
  using OProtocol::Write;
  using OProtocolX::Write;
  int Write(Vx::OChannel& channel, const Vx::Object& value) override {
    return channel.Write(value);
  }
  int Write(Vx::OChannel&, const char*) override { return -1; }
  int Write(Vx::OChannel&, const void*) override { return -1; }
  void Note(Vx::OChannel&, unsigned int, unsigned int, const char*) override {}
  int Read(Vx::IChannel& channel, Vx::Object& value) override { return channel.Read(value); }
  int Read(Vx::IChannel&, char*) override { return -1; }
};

template <class T, class... Rest>
class ToyProtocol<T, Rest...> : public ToyProtocol<Rest...> {
 public:
  using ToyProtocol<Rest...>::Read;
  using ToyProtocol<Rest...>::Write;
  void Write(Vx::OBinaryChannel& channel, T value) const override {
    channel.Write(Turned({reinterpret_cast<const char*>(&value), sizeof(T)}).data(), sizeof(T));
  }
  int Write(Vx::OChannel& channel, T value) override {
    const std::string bytes = Turned({reinterpret_cast<const char*>(&value), sizeof(T)});
    return channel.WriteBin(bytes.data(), sizeof(T), nullptr);
  }
  void Read(Vx::IBinaryChannel& channel, T& value) const override {
    std::string bytes(sizeof(T), '\0');
    if (channel.Read(bytes.data(), sizeof(T), Vx::IBinaryChannel::ReadAll) < sizeof(T)) {
      throw Vx::EndOfInputException("End of input reached.", __FILE__, __LINE__);
    }
    Turned(bytes).copy(reinterpret_cast<char*>(&value), sizeof(T));
  }
  int Read(Vx::IChannel& channel, T& value) override {
    std::string bytes(sizeof(T), '\0');
    const int status = channel.ReadBin(bytes.data(), sizeof(T), nullptr);
    if (status == 0) Turned(bytes).copy(reinterpret_cast<char*>(&value), sizeof(T));
    return status;
  }
};

inline ToyProtocol<long double, double, float, unsigned __int64, __int64, unsigned long, long,
                   unsigned int, int, unsigned short, short, bool, unsigned char, char>
    toyProtocol;

/// A status channel out of a string and, behind its end, into it, up to `limit` bytes.
class StringChannel final : public Vx::OChannel, public Vx::IChannel {
 public:
  explicit StringChannel(std::string bytes = "", std::size_t limit = std::string::npos)
      : OChannel(toyProtocol), IChannel(toyProtocol), content(std::move(bytes)), room(limit) {}
  int WriteBin(const char* source, unsigned int count, unsigned int*) override {
    const std::size_t before = content.size();
    content.append(source, std::min<std::size_t>(count, room - before));
    return content.size() == before + count ? Vx::StatusSuccess : Vx::StatusOutputFull;
  }
  int ReadBin(char* target, unsigned int count, unsigned int* delivered) override {
    const std::size_t taken = content.copy(target, count);
    if (delivered != nullptr) *delivered = static_cast<unsigned int>(taken);
    content.erase(0, taken);
    return taken == count ? Vx::StatusSuccess : Vx::StatusEndOfInput;
  }

  std::string content;

 private:
  std::size_t room;
};

}  // namespace Tests

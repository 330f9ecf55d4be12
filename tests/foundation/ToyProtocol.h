#pragma once

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <utility>

#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IChannel.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/OChannel.h"
#include "foundation/Vx/OChannelX.h"

/// The smallest protocols that the channel classes can be used with: every value as its bytes in
/// memory, the most significant first.
namespace Tests {

template <class T>
std::string ToBigEndian(const T& value) {
  std::string bytes(sizeof(T), '\0');
  std::memcpy(bytes.data(), &value, sizeof(T));
  if (std::endian::native == std::endian::little) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

template <class T>
void FromBigEndian(std::string bytes, T& value) {
  if (std::endian::native == std::endian::little) std::reverse(bytes.begin(), bytes.end());
  std::memcpy(&value, bytes.data(), sizeof(T));
}

// Each layer overrides the operation for one type.
template <class Base, class... Types>
class ToyOutputLayer : public Base {};
template <class Base, class T, class... Rest>
class ToyOutputLayer<Base, T, Rest...> : public ToyOutputLayer<Base, Rest...> {
 public:
  using ToyOutputLayer<Base, Rest...>::Write;
  void Write(Vx::OBinaryChannel& channel, T value) const override {
    channel.Write(ToBigEndian(value).data(), sizeof(T));
  }
};

template <class Base, class... Types>
class ToyInputLayer : public Base {};
template <class Base, class T, class... Rest>
class ToyInputLayer<Base, T, Rest...> : public ToyInputLayer<Base, Rest...> {
 public:
  using ToyInputLayer<Base, Rest...>::Read;
  void Read(Vx::IBinaryChannel& channel, T& value) const override {
    std::string bytes(sizeof(T), '\0');
    if (channel.Read(bytes.data(), sizeof(T), Vx::IBinaryChannel::ReadAll) < sizeof(T)) {
      throw Vx::EndOfInputException("End of input reached.", __FILE__, __LINE__);
    }
    FromBigEndian(std::move(bytes), value);
  }
};

template <class Base, class... Types>
class ToyStatusOutputLayer : public Base {};
template <class Base, class T, class... Rest>
class ToyStatusOutputLayer<Base, T, Rest...> : public ToyStatusOutputLayer<Base, Rest...> {
 public:
  using ToyStatusOutputLayer<Base, Rest...>::Write;
  int Write(Vx::OChannel& channel, T value) override {
    return channel.WriteBin(ToBigEndian(value).data(), sizeof(T), nullptr);
  }
};

template <class Base, class... Types>
class ToyStatusInputLayer : public Base {};
template <class Base, class T, class... Rest>
class ToyStatusInputLayer<Base, T, Rest...> : public ToyStatusInputLayer<Base, Rest...> {
 public:
  using ToyStatusInputLayer<Base, Rest...>::Read;
  int Read(Vx::IChannel& channel, T& value) override {
    std::string bytes(sizeof(T), '\0');
    const int status = channel.ReadBin(bytes.data(), sizeof(T), nullptr);
    if (status == 0) FromBigEndian(std::move(bytes), value);
    return status;
  }
};

template <template <class, class...> class Layer, class Base, class... More>
using WithAllPrimitives =
    Layer<Base, More..., long double, double, float, unsigned __int64, __int64, unsigned long, long,
          unsigned int, int, unsigned short, short, bool, unsigned char, char>;

class ToyOutputProtocolX final : public WithAllPrimitives<ToyOutputLayer, Vx::OProtocolX> {};
class ToyInputProtocolX final : public WithAllPrimitives<ToyInputLayer, Vx::IProtocolX> {};

class ToyOutputProtocol final
    : public WithAllPrimitives<ToyStatusOutputLayer, Vx::OProtocol, const void*> {
 public:
  using ToyStatusOutputLayer::Write;
  int Write(Vx::OChannel& channel, const Vx::Object& value) override {
    return value.WriteTo(channel);
  }
  int Write(Vx::OChannel& channel, const char* value) override {
    return channel.WriteBin(value, static_cast<unsigned int>(std::strlen(value)) + 1, nullptr);
  }
  void Note(Vx::OChannel&, unsigned int, unsigned int, const char*) override {}
};

class ToyInputProtocol final : public WithAllPrimitives<ToyStatusInputLayer, Vx::IProtocol> {
 public:
  using ToyStatusInputLayer::Read;
  int Read(Vx::IChannel& channel, Vx::Object& value) override { return value.ReadFrom(channel); }
  int Read(Vx::IChannel& channel, char* value) override {
    int status = 0;
    do {
      status = channel.ReadBin(value, 1, nullptr);
    } while (status == 0 && *value++ != 0);
    return status;
  }
};

inline ToyOutputProtocolX toyOutputX;
inline ToyInputProtocolX toyInputX;
inline ToyOutputProtocol toyOutput;
inline ToyInputProtocol toyInput;

/// A status channel into a string with room for `room` bytes.
class StringOChannel final : public Vx::OChannel {
 public:
  explicit StringOChannel(std::size_t bytes = std::string::npos)
      : OChannel(toyOutput), room(bytes) {}
  int WriteBin(const char* source, unsigned int count, unsigned int* written) override {
    const auto taken =
        static_cast<unsigned int>(std::min<std::size_t>(count, room - content.size()));
    content.append(source, taken);
    if (written != nullptr) *written = taken;
    return taken == count ? Vx::StatusSuccess : Vx::StatusOutputFull;
  }

  std::string content;

 private:
  std::size_t room;
};

class StringIChannel final : public Vx::IChannel {
 public:
  explicit StringIChannel(std::string bytes) : IChannel(toyInput), content(std::move(bytes)) {}
  int ReadBin(char* target, unsigned int count, unsigned int* delivered) override {
    const std::size_t taken = content.copy(target, count);
    content.erase(0, taken);
    if (delivered != nullptr) *delivered = static_cast<unsigned int>(taken);
    return taken == count ? Vx::StatusSuccess : Vx::StatusEndOfInput;
  }

  std::string content;
};

}  // namespace Tests

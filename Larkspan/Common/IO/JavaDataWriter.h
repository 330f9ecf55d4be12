#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/BigEndian.h"
#include "foundation/Vx/FillableOutput.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Writes many values in the bytes of `JavaDataOutputProtocolX`, without a call per value where the
/// channel gathers them in memory. Other channels get each single value in one call of `Write`, and
/// arrays in blocks.
///
/// What was written stands in the channel after `Settle` or the destructor; until then nobody else
/// uses the channel. Failures are those of the channel: the values before the one that failed were
/// taken where they were written one by one; of an array it is not told.
class LARKSPAN_API JavaDataWriter final {
 public:
  explicit JavaDataWriter(Vx::OBinaryChannel& target) noexcept;
  JavaDataWriter(const JavaDataWriter&) = delete;
  JavaDataWriter& operator=(const JavaDataWriter&) = delete;
  ~JavaDataWriter() { Settle(); }

  template <BigEndian::Value T>
  void Write(const T& value) {
    if (GetRoomSize() < BigEndian::Width<T> && !FindRoom(BigEndian::Width<T>)) {
      const auto bytes = BigEndian::Encode(value);
      channel.Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
      return;
    }
    Put(next, value);
    next += BigEndian::Width<T>;
  }

  /// Each value of an array, with nothing between them.
  template <class T, std::size_t Extent>
  requires BigEndian::Value<std::remove_const_t<T>>
  void Write(std::span<T, Extent> values) {
    using Value = std::remove_const_t<T>;
    constexpr std::size_t width = BigEndian::Width<Value>;
    std::span<const Value> rest = values;
    while (!rest.empty()) {
      const bool gathering = GetRoomSize() >= width || FindRoom(width);
      char block[BlockSize];
      char* const target = gathering ? next : block;
      const std::size_t room = gathering ? GetRoomSize() : BlockSize;
      const std::size_t count = std::min(rest.size(), room / width);
      for (std::size_t i = 0; i < count; ++i) Put(target + i * width, rest[i]);
      if (gathering) {
        next += count * width;
      } else {
        channel.Write(block, static_cast<unsigned int>(count * width));
      }
      rest = rest.subspan(count);
    }
  }

  /// A text as the function `WriteUTF` writes it; throws what that throws.
  void WriteUTF(const Vx::UniString& text);

  /// Hands over to the channel what stands in its memory.
  void Settle() noexcept;

 private:
  static constexpr std::size_t BlockSize = 4096;

  template <class T>
  static void Put(char* target, T value) noexcept {
    const auto bytes = BigEndian::Encode(value);
    std::memcpy(target, bytes.data(), bytes.size());
  }

  [[nodiscard]] std::size_t GetRoomSize() const noexcept {
    return static_cast<std::size_t>(end - next);
  }
  // Settles. False if the channel has to be written to.
  bool FindRoom(std::size_t size);

  Vx::OBinaryChannel& channel;
  Vx::FillableOutput* const fillable;
  char* begin = nullptr;  // what the channel has given as room
  char* next = nullptr;
  char* end = nullptr;
};

}  // namespace Larkspan::Common::IO

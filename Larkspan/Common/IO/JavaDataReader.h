#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/BigEndian.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Reads many values from the bytes of `JavaDataInputProtocolX`, without a call per value where the
/// channel's bytes lie in memory. From other channels each single value is read in one call, and
/// arrays in blocks; nothing is read ahead.
///
/// What was read is taken from the channel after `Settle` or the destructor; until then nobody else
/// uses the channel. Input that ends within a value throws `Vx::EndOfInputException`, "End of input
/// reached."; that value, or the rest of the array, stays as it was, and the input is used up.
class LARKSPAN_API JavaDataReader final {
 public:
  explicit JavaDataReader(Vx::IBinaryChannel& source) noexcept;
  JavaDataReader(const JavaDataReader&) = delete;
  JavaDataReader& operator=(const JavaDataReader&) = delete;
  ~JavaDataReader() { Settle(); }

  template <BigEndian::Value T>
  void Read(T& value) {
    if (GetLeft() < BigEndian::Width<T> && !FindBytes(BigEndian::Width<T>)) {
      char bytes[BigEndian::Width<T>];
      CheckComplete(ReadApart(bytes, sizeof(bytes)), sizeof(bytes));
      value = Get<T>(bytes);
      return;
    }
    value = Get<T>(next);
    next += BigEndian::Width<T>;
  }

  /// Fills an array with values that have nothing between them.
  template <BigEndian::Value T, std::size_t Extent>
  void Read(std::span<T, Extent> values) {
    constexpr std::size_t width = BigEndian::Width<T>;
    std::span<T> rest = values;
    while (!rest.empty()) {
      if (GetLeft() >= width || FindBytes(width)) {
        const std::size_t count = std::min(rest.size(), GetLeft() / width);
        GetAll(next, rest.first(count));
        next += count * width;
        rest = rest.subspan(count);
        continue;
      }
      // A value that does not lie in memory as a whole stands between two blocks that do.
      char block[BlockSize];
      const std::size_t wanted =
          peekable == nullptr ? std::min(rest.size(), BlockSize / width) * width : width;
      const std::size_t size = ReadApart(block, wanted);
      GetAll(block, rest.first(size / width));
      CheckComplete(size, wanted);
      rest = rest.subspan(size / width);
    }
  }

  /// A text as the function `ReadUTF` reads it; throws what that throws.
  void ReadUTF(Vx::UniString& text);

  /// Takes from the channel what was read in its memory.
  void Settle();

 private:
  static constexpr std::size_t BlockSize = 4096;

  template <class T>
  static T Get(const char* source) noexcept {
    BigEndian::Bytes<T> bytes;
    std::memcpy(bytes.data(), source, bytes.size());
    return BigEndian::Decode<T>(bytes);
  }
  template <class T>
  static void GetAll(const char* source, std::span<T> values) noexcept {
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = Get<T>(source + i * BigEndian::Width<T>);
    }
  }

  [[nodiscard]] std::size_t GetLeft() const noexcept {
    return static_cast<std::size_t>(end - next);
  }
  // Settles. False if so many bytes don't lie in memory.
  bool FindBytes(std::size_t size);
  std::size_t ReadApart(char* target, std::size_t size);
  static void CheckComplete(std::size_t size, std::size_t wanted);

  Vx::IBinaryChannel& channel;
  Vx::PeekableInput* const peekable;
  const char* begin = nullptr;  // what the channel has shown
  const char* next = nullptr;
  const char* end = nullptr;
};

}  // namespace Larkspan::Common::IO

#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/CRC32.h"
#include "foundation/Vx/Types.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// The seal of an archive, gathered while its entries go by: their number, the sum of their sizes,
/// and one CRC-32 over the header of each entry, as it stands, and the size and CRC of its footer.
/// docs/archive-format.md describes its bytes. A value.
class LARKSPAN_API ArchiveSeal final {
 public:
  static constexpr unsigned int Size = 42;
  using Bytes = std::array<char, Size>;

  /// The archive header that promises a seal. It stands last among the pairs.
  static constexpr const Vx::UniChar* HeaderName = u"seal";

  /// The value of that header. `headerCRC` is the CRC-32 of all other pairs as they stand.
  [[nodiscard]] static Vx::UniString MakePromise(unsigned int headerCRC);
  /// The CRC of a promise; none if `value` has another form, and so promises nothing.
  [[nodiscard]] static std::optional<unsigned int> ParsePromise(const Vx::UniString& value);

  /// Whether the bytes behind the last footer hold what may be a seal, at their beginning or behind
  /// something else: a damaged name swallows the entries up to the seal.
  [[nodiscard]] static bool HasMark(std::string_view tail) noexcept;

  /// Takes in the bytes of an entry's header, from the length of its name on, in any chunks.
  void AddHeaderBytes(const char* bytes, unsigned int size) noexcept;
  /// Takes in an entry's footer, after its header, and so completes it.
  void AddFooter(Vx::UInt64 size, unsigned int crc) noexcept;

  [[nodiscard]] Bytes Encode() const noexcept;
  /// Whether `tail` is this seal, from its first to its last byte.
  [[nodiscard]] bool Matches(std::string_view tail) const noexcept;

 private:
  Vx::UInt64 entryCount = 0;
  Vx::UInt64 plainSize = 0;
  CRC32 entries;
};

}  // namespace Larkspan::Common::IO

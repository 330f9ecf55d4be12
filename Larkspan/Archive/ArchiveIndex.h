#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Larkspan/Archive/EntryPlace.h"
#include "Larkspan/Archive/RandomInput.h"
#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Archive {

/// Where the entries of an archive are: found in one pass that hops over their data, or loaded from
/// what `Save` has written. Entries can then be opened in any order, from several threads at once:
/// all operations but construction and destruction may run side by side.
///
/// Takes 64 bytes of memory for each entry, and the bytes of its header. Sizes and CRCs are what
/// the footers claim until the data has been read.
class LARKSPAN_API ArchiveIndex final {
 public:
  using EntryRef = Vx::Ref<Common::IO::ArchiveEntry, Vx::Counter>;

  /// Goes through the archive once; linear in the number of entries and frames. `archive` outlives
  /// the index. Throws `Common::IO::ArchiveException` and `Vx::EndOfInputException` for an archive
  /// that can't be walked through to its end, and what the store throws.
  explicit ArchiveIndex(const RandomInput& archive);
  /// Reads what `Save` has written. Throws `Common::IO::ArchiveException` if that is damaged, and
  /// if it isn't of this archive: its size, its beginning or its last bytes differ.
  ArchiveIndex(const RandomInput& archive, Vx::IBinaryChannel& saved);
  ArchiveIndex(const ArchiveIndex&) = delete;
  ArchiveIndex& operator=(const ArchiveIndex&) = delete;
  ~ArchiveIndex();

  /// Writes the index, to be loaded for the same archive. It ends with a CRC-32 of itself.
  void Save(Vx::OBinaryChannel& target) const;

  /// The headers of the archive.
  [[nodiscard]] const Common::IO::ArchiveHeaders& GetHeaders() const noexcept { return headers; }
  /// How the archive ends, and what its seal says.
  [[nodiscard]] const Common::IO::ArchiveEnd& GetEnd() const noexcept { return end; }

  /// Entries are numbered from 0 on, in the order of the archive.
  [[nodiscard]] std::size_t GetEntryCount() const noexcept { return places.size(); }
  /// The entry with its headers, and with sizes and CRC as its footer claims them. Throws
  /// `Vx::IllegalArgumentException` for a number that no entry has, as all of the following do.
  [[nodiscard]] EntryRef GetEntry(std::size_t number) const;
  [[nodiscard]] Vx::UniString GetName(std::size_t number) const;
  /// The last entry of that name: none if there is none. Logarithmic in the number of entries.
  [[nodiscard]] std::optional<std::size_t> Find(const Vx::UniString& name) const;

  /// The data of an entry. It is verified by the read that meets its end, which throws what
  /// `ArchiveIBinaryChannel::CloseEntry` throws; the channel can also be closed before that. Throws
  /// `Common::IO::ArchiveException` if the index isn't of the archive.
  [[nodiscard]] Vx::IBinaryChannelRef OpenEntry(std::size_t number) const;

  /// Reads plain data of an entry from `offset` on, and gives the number of bytes, which is smaller
  /// than `size` only at the end of the data. Decodes the blocks that the range touches, where the
  /// entry consists of blocks that don't depend on each other, else all that is before it. No sum
  /// vouches for these bytes. Throws as `OpenEntry` and its channel do.
  [[nodiscard]] unsigned int ReadRange(std::size_t number, Vx::UInt64 offset, char* buffer,
                                       unsigned int size) const;

 private:
  friend class EntryCopier;
  friend class ParallelReader;

  struct Place : EntryPlace {
    Vx::UInt64 text = 0;  // offset of the header's bytes in `texts`
  };
  struct NameHash {
    unsigned int hash;
    unsigned int number;
  };
  using Bytes = std::basic_string<char, std::char_traits<char>, Vx::Allocator<char>>;
  template <class T>
  using List = std::vector<T, Vx::Allocator<T>>;

  [[nodiscard]] const Place& GetPlace(std::size_t number,
                                      unsigned int line = __builtin_LINE()) const;
  // The bytes of an entry's header.
  [[nodiscard]] std::string_view GetText(const Place& place) const noexcept;
  void Load(Vx::IBinaryChannel& saved);
  void LoadPlace(Vx::IChannelX& channel);
  void SortNames();
  [[nodiscard]] unsigned int SumArchive() const;

  const RandomInput& input;
  Common::IO::ArchiveHeaders headers;
  Common::IO::ArchiveEnd end;
  List<Place> places;
  Bytes texts;
  List<NameHash> names;
};

}  // namespace Larkspan::Archive

#pragma once

#include <string>
#include <string_view>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/ArchiveSeal.h"
#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/WrappedChannel.h"

namespace Larkspan::Common::IO {

/// Reads an archive as a stream: its headers, and then one entry after the other, each by
/// `GetNextEntry`, any number of `Read`, and `CloseEntry`, which verifies it. What of an entry was
/// not read is read then, so an entry is always verified whole.
///
/// The archive header is read by the first operation that needs it. Damage throws
/// `ArchiveException`, `Vx::EndOfInputException` for input that ends early, or the failure of the
/// decompression. An archive that ends before or within the name of an entry counts as complete:
/// the format has no end marker. What stands there, and whether it is the seal that the header
/// promises, `GetEnd` tells: a wrong or missing seal is no failure of reading.
class LARKSPAN_API ArchiveIBinaryChannel final : public Vx::IBinaryChannel {
 public:
  using EntryRef = Vx::Ref<ArchiveEntry, Vx::Counter>;

  /// Throws `Vx::IllegalArgumentException` for an empty reference. Reads nothing.
  explicit ArchiveIBinaryChannel(const Vx::IBinaryChannelRef& channel);
  explicit ArchiveIBinaryChannel(Vx::IBinaryChannel& channel);
  /// For a source that begins with an entry, as if the header and all entries before it had been
  /// read. There are no headers, and `GetEnd` means nothing.
  enum AtEntrySelector { AtEntry };
  ArchiveIBinaryChannel(Vx::IBinaryChannel& channel, AtEntrySelector place);
  ~ArchiveIBinaryChannel() override;

  /// The bytes that the archive reserves for its header, 0 for none.
  [[nodiscard]] unsigned int GetReservedHeaderSize() const;
  [[nodiscard]] unsigned int GetHeaderCount() const;
  [[nodiscard]] bool HasHeaders() const;
  [[nodiscard]] ArchiveHeaderIterator EnumerateHeaders() const&;
  /// The iterator would outlive the object.
  void EnumerateHeaders() const&& = delete;
  /// The operations with a name throw `Vx::IllegalArgumentException` for an empty one.
  [[nodiscard]] bool ConstainsHeader(const Vx::UniString& name) const;
  bool GetHeader(const Vx::UniString& name, Vx::UniString& value) const;
  [[nodiscard]] Vx::UniString GetHeader(const Vx::UniString& name) const;

  /// Closes and verifies the open entry, if there is one, and starts the next. Empty at the end of
  /// the archive.
  [[nodiscard]] EntryRef GetNextEntry();
  [[nodiscard]] bool HasCurrentEntry() const;
  /// Empty if no entry is open.
  [[nodiscard]] EntryRef GetCurrentEntry() const;
  /// Reads the rest of the open entry and verifies it; does nothing if there is none. After a
  /// failure of the verification the entry can be left, or the channel closed.
  void CloseEntry();
  /// Ends the open entry without decoding it; does nothing if there is none. The rest of its data
  /// is passed over frame by frame, with a seek where the source can skip, and the entry is closed
  /// with what its footer claims, unverified. Works after a failure within the entry, in its data
  /// or in its verification, too, so that one damaged entry does not hide those behind it.
  ///
  /// Throws `ArchiveException` if the end of the entry can't be found: the input ends before it, or
  /// the frames do not add up to what the footer says. After that the channel can only be closed.
  void LeaveEntry();

  /// How the archive ends, known once `GetNextEntry` has given an empty reference, and what the
  /// check of the header says, known as soon as the header has been read. It is never read for
  /// this. A seal that is right vouches for the headers and footers of all entries, left ones too,
  /// and not for the data of those that were left.
  [[nodiscard]] ArchiveEnd GetEnd() const noexcept { return end; }
  /// The bytes behind the last footer, as far as `GetEnd` knows them; they stay until the next
  /// operation. They were read as the name of an entry for which the input was too short, so there
  /// are at most 65537, and they take no more memory than that.
  [[nodiscard]] std::string_view GetTail() const noexcept { return tail; }

  using IBinaryChannel::Read;
  /// Plain data of the open entry; 0 at its end, and if there is none.
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] Vx::UInt64 GetAvailable() const override;
  /// Closes the source. An open entry is left unverified, but the rest of its framing is read,
  /// which can take long and can fail; the channel is closed all the same.
  void Close() override;

 private:
  using ByteText = std::basic_string<char, std::char_traits<char>, Vx::Allocator<char>>;

  // The three fields behind an entry's data, as read or as counted.
  struct Footer {
    Vx::UInt64 archivedSize = 0;
    Vx::UInt64 size = 0;
    unsigned int crc = 0;
  };

  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  // Checks, reads the archive header if that has not happened, and returns the cache.
  [[nodiscard]] const ArchiveHeaders& GetHeaders(const char* file = __builtin_FILE(),
                                                 unsigned int line = __builtin_LINE()) const;
  [[nodiscard]] Vx::IBinaryChannel& GetInputChannel() noexcept { return source.Get(); }
  [[nodiscard]] const Vx::IBinaryChannel& GetInputChannel() const noexcept { return source.Get(); }
  void ReadArchiveHeader();
  // Fills the cache of headers on behalf of the const queries.
  void ReadArchiveHeader() const;
  EntryRef StartEntry();
  void CloseEntry(const EntryRef& entry);
  template <class T>
  void ReadFooterField(T& field);
  bool PassToFooterEnd();
  [[nodiscard]] bool IsPlausible(ArchiveEntry::Method method) const;
  void CloseWithClaims(const EntryRef& entry, bool verified);
  void KeepTail(const ByteText& unread);
  void SetEnd(const ByteText& unread);

  Vx::WrappedChannel<Vx::IBinaryChannel> source;
  unsigned int reservedHeaderSize = 0;
  bool headerRead = false;
  bool endsInHeader = false;
  ArchiveHeaders headers;
  // The open entry's stack of channels; all but `crcChannel` live on until the next entry.
  Vx::IBinaryChannelRef framing;
  Vx::IBinaryChannelRef archivedSizeCounter;
  Vx::IBinaryChannelRef sizeCounter;
  Vx::IBinaryChannelRef crcChannel;
  // Kept from entry to entry: setting one up costs as much as a short entry's data.
  Vx::IBinaryChannelRef keptInflater;
  EntryRef currentEntry;
  // What is known of the open entry's footer, so that it can be left after a failed verification.
  Footer counted;
  Footer claimed;
  unsigned int footerFields = 0;
  bool decodedWhole = false;
  bool placeLost = false;
  ArchiveSeal seal;
  ArchiveEnd end;
  ByteText tail;
  bool closed = false;
};

}  // namespace Larkspan::Common::IO

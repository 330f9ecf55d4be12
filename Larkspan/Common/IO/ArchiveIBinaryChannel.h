#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/WrappedChannel.h"

namespace Larkspan::Common::IO {

/// Reads an archive as a stream: its headers, and then one entry after the other, each by
/// `GetNextEntry`, any number of `Read`, and `CloseEntry`, which verifies it. What of an entry was
/// not read is read then, so an entry is always verified whole.
///
/// The archive header is read by the first operation that needs it. Damage raises
/// `ArchiveException`, `Vx::EndOfInputException` for input that ends early, or the failure of the
/// decompression. An archive that ends before or within the name of an entry counts as complete:
/// the format has no end marker.
class LARKSPAN_API ArchiveIBinaryChannel final : public Vx::IBinaryChannel {
 public:
  using EntryRef = Vx::Ref<ArchiveEntry, Vx::Counter>;

  /// Raises `Vx::IllegalArgumentException` for an empty reference. Reads nothing.
  explicit ArchiveIBinaryChannel(const Vx::Ref<Vx::IBinaryChannel, Vx::AtomicCounter>& channel);
  explicit ArchiveIBinaryChannel(Vx::IBinaryChannel& channel);
  ~ArchiveIBinaryChannel() override;

  /// The room in bytes that the archive keeps for its header, 0 for none.
  [[nodiscard]] unsigned int GetReservedHeaderSize() const;
  [[nodiscard]] unsigned int GetHeaderCount() const;
  [[nodiscard]] bool HasHeaders() const;
  [[nodiscard]] ArchiveHeaderIterator EnumerateHeaders() const;
  /// The operations with a name raise `Vx::IllegalArgumentException` for an empty one.
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
  /// failure of the verification the channel can only be closed.
  void CloseEntry();

  using IBinaryChannel::Read;
  /// Plain data of the open entry; 0 at its end, and if there is none.
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  /// Closes the source. An open entry is left unverified, but the rest of its framing is read,
  /// which can take long and can fail; the channel is closed all the same.
  void Close() override;

 private:
  using ChannelRef = Vx::Ref<Vx::IBinaryChannel, Vx::AtomicCounter>;

  void CheckOpened(const char* file, unsigned int line) const;
  [[nodiscard]] Vx::IBinaryChannel& GetInputChannel() noexcept { return source.Get(); }
  const Vx::IBinaryChannel& GetInputChannel() const noexcept { return source.Get(); }
  void ReadArchiveHeader();
  // Fills the cache of headers on behalf of the const queries.
  void ReadArchiveHeader() const;
  EntryRef StartEntry();
  void CloseEntry(const EntryRef& entry);

  Vx::WrappedChannel<Vx::IBinaryChannel> source;
  unsigned int reservedHeaderSize = 0;
  bool headerRead = false;
  ArchiveHeaders headers;
  // The open entry's stack of channels; the counters live on until the next entry.
  ChannelRef archivedSizeCounter;
  ChannelRef sizeCounter;
  ChannelRef crcChannel;
  EntryRef currentEntry;
  bool closed = false;
};

}  // namespace Larkspan::Common::IO

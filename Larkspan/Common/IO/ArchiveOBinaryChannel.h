#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/ArchiveSeal.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/WrappedChannel.h"

namespace Larkspan::Common::IO {

/// Writes an archive as a stream: first headers of the archive, then one entry after the other,
/// each by `PutNextEntry`, any number of `Write`, and `CloseEntry`.
///
/// The archive header goes out with the first `PutNextEntry` or `Flush`, and headers can't be
/// changed after that. The target is never read and never positioned; nothing is written before
/// the header is. `Close` only closes the target: close the open entry first, or the archive ends
/// in the middle of it, and `Flush` an archive without entries, or its header is missing.
/// Destruction writes nothing.
///
/// Failures of the target pass through. After one the archive is damaged: drop the channel.
class LARKSPAN_API ArchiveOBinaryChannel final : public Vx::OBinaryChannel {
 public:
  using EntryRef = Vx::Ref<ArchiveEntry, Vx::Counter>;

  /// `headerSize` is the reserved size of the archive header; see ArchiveHeaderSize.h.
  /// Throws `Vx::IllegalArgumentException` for another size and for an empty reference.
  ArchiveOBinaryChannel(const Vx::OBinaryChannelRef& channel, unsigned int headerSize);
  ArchiveOBinaryChannel(Vx::OBinaryChannel& channel, unsigned int headerSize);
  ~ArchiveOBinaryChannel() override;

  /// These throw `Vx::IllegalArgumentException` for an empty name, `Vx::IOException` after `Close`,
  /// and `ArchiveException` once the archive header has been written.
  void PutHeader(const Vx::UniString& name, const Vx::UniString& value);
  void ClearHeader(const Vx::UniString& name);
  void ClearHeaders();

  /// Reading the headers works at all times.
  [[nodiscard]] unsigned int GetHeaderCount() const noexcept;
  [[nodiscard]] bool HasHeaders() const noexcept;
  [[nodiscard]] ArchiveHeaderIterator EnumerateHeaders() const&;
  /// The iterator would outlive the object.
  void EnumerateHeaders() const&& = delete;
  [[nodiscard]] bool ConstainsHeader(const Vx::UniString& name) const;
  bool GetHeader(const Vx::UniString& name, Vx::UniString& value) const;
  [[nodiscard]] Vx::UniString GetHeader(const Vx::UniString& name) const;

  /// The method of entries that ask for `Default`: `Deflated`, if never set, or `Stored`.
  void SetMethod(ArchiveEntry::Method method);

  /// Closes the open entry, if there is one, and starts the next. The entry is open and gets its
  /// sizes and CRC when it is closed.
  EntryRef PutNextEntry(const Vx::UniString& name, const ArchiveHeaders& entryHeaders,
                        ArchiveEntry::Method method = ArchiveEntry::Default);
  EntryRef PutNextEntry(const Vx::UniString& name,
                        ArchiveEntry::Method method = ArchiveEntry::Default);
  [[nodiscard]] bool HasCurrentEntry() const;
  /// Empty if no entry is open.
  [[nodiscard]] EntryRef GetCurrentEntry() const;
  /// Completes the open entry; does nothing if there is none.
  void CloseEntry();

  /// Starts an entry whose data comes as it stands in an archive, compressed if the method says so:
  /// frame by frame, each by `PutFrame` and as many bytes by `Write`, and then `CloseEncodedEntry`.
  /// Nobody looks at the data: a wrong one is an entry that fails to be read. `method` is not
  /// `Default`. Throws as `PutNextEntry` does, and `Vx::IllegalArgumentException`.
  EntryRef PutEncodedEntry(const Vx::UniString& name, const ArchiveHeaders& entryHeaders,
                           ArchiveEntry::Method method);
  /// Starts a frame of `size` bytes. Throws `ArchiveException` if no encoded entry is open or its
  /// last frame lacks bytes, and `Vx::IllegalArgumentException` for a size of 0.
  void PutFrame(unsigned int size);
  /// Completes the entry, whose plain data has this size and CRC-32. Throws `ArchiveException` as
  /// `PutFrame` does. No other operation completes an encoded entry.
  void CloseEncodedEntry(Vx::UInt64 size, unsigned int crc);

  /// Promises in the header that a seal ends the archive, so that a cut that takes the seal away
  /// shows. The header `seal`, whatever the caller has put there, then gets its value when the
  /// archive header is written: a check of all other headers. It takes 18 bytes of the reserved
  /// size, and one more byte must stay free. Throws what `PutHeader` throws for its state.
  void PromiseSeal();
  /// Completes the open entry, if there is one, and writes the seal: `ArchiveEnd` tells what
  /// readers make of it. After that only `Flush` and `Close` are left. Throws `ArchiveException` if
  /// no seal was promised, or one has been written.
  void WriteSeal();

  using OBinaryChannel::Write;
  /// Data of the open entry. Throws `ArchiveException` if there is none, and where a frame of an
  /// encoded entry has no room for it.
  void Write(const char* data, unsigned int size) override;
  /// Writes the data so far to the target, as far as zlib lets go of it, and flushes the target.
  /// Without an entry, writes the archive header.
  void Flush() override;
  void Close() override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  void CheckHeaderUpdatable(const char* file = __builtin_FILE(),
                            unsigned int line = __builtin_LINE()) const;
  void CheckEntryStarted(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE());
  void CheckUnsealed(const char* file = __builtin_FILE(),
                     unsigned int line = __builtin_LINE()) const;
  [[nodiscard]] Vx::OBinaryChannel& GetOutputChannel() noexcept { return target.Get(); }
  [[nodiscard]] const Vx::OBinaryChannel& GetOutputChannel() const noexcept { return target.Get(); }
  void WriteArchiveHeader();
  void WritePairs(Vx::OBinaryChannel& counter);
  void WriteEntryHeader(const EntryRef& entry);
  void WriteEntryFooter(const EntryRef& entry);
  EntryRef StartEntry(const Vx::UniString& name, const ArchiveHeaders& entryHeaders,
                      ArchiveEntry::Method method);
  // Completes what is open before an entry, and writes the header of the new one.
  EntryRef OpenEntry(const Vx::UniString& name, const ArchiveHeaders& entryHeaders,
                     ArchiveEntry::Method method);
  void CheckFramesComplete(const char* file = __builtin_FILE(),
                           unsigned int line = __builtin_LINE()) const;
  void Complete(const EntryRef& entry, Vx::UInt64 archivedSize, Vx::UInt64 size, unsigned int crc);
  void CloseEntry(const EntryRef& entry);

  Vx::WrappedChannel<Vx::OBinaryChannel> target;
  const unsigned int reservedHeaderSize;
  bool headerWritten = false;
  ArchiveHeaders headers;
  // The open entry's stack of channels. Whether `crcChannel` is set decides whether data is taken;
  // the others live on until the next entry.
  Vx::OBinaryChannelRef archivedSizeCounter;
  Vx::OBinaryChannelRef sizeCounter;
  Vx::OBinaryChannelRef deflater;
  // Kept from entry to entry: setting one up costs as much as a short entry's data.
  Vx::OBinaryChannelRef keptDeflater;
  Vx::OBinaryChannelRef crcChannel;
  EntryRef currentEntry;
  // Of an encoded entry: bytes of all frames, and those that the last one lacks.
  bool isEncoded = false;
  Vx::UInt64 encodedSize = 0;
  unsigned int frameLeft = 0;
  ArchiveEntry::Method defaultMethod = ArchiveEntry::Deflated;
  ArchiveSeal seal;
  bool sealPromised = false;
  bool sealWritten = false;
  bool closed = false;
};

}  // namespace Larkspan::Common::IO

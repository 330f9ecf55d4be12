#pragma once

#include <string_view>

#include "foundation/Export.h"
#include "foundation/IO/AccessDeniedTreatment.h"
#include "foundation/IO/Attributes.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Name.h"
#include "foundation/IO/OnNotFound.h"
#include "foundation/IO/OpenMode.h"
#include "foundation/IO/SeekOrigin.h"
#include "foundation/IO/StandardStream.h"
#include "foundation/IO/Status.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/String.h"
#include "foundation/Vx/Types.h"

namespace IO {

/// A file, to be opened for reading, for writing, or for both.
///
/// Reads go through a buffer of `BufferSize` bytes, made when the file is opened for reading; reads
/// as large as the buffer bypass it. Between reading and writing comes a `Seek`. Writes are not
/// held back: each reaches the system before it returns. All operations report by status and none
/// throws; reading, writing, seeking and flushing need an open file. A file can be open more than
/// once, and nothing but `Lock` looks at locks. One thread at a time.
class FOUNDATION_API File final {
 public:
  /// Bytes that are read ahead at the most.
  static constexpr unsigned int BufferSize = 65536;

  /// Looks whether the file is there, without opening it; `GetStatus` tells the outcome.
  File(const Location& location, OnNotFound onNotFound) noexcept;
  /// A file of a folder that is held open, which must outlive `Open`. A symbolic link of that name
  /// is never followed, and only what is a file can be opened.
  File(const Folder& folder, const Name& name, OnNotFound onNotFound) noexcept;
  /// A standard stream, open at once. The descriptor beneath it is never closed.
  explicit File(StandardStream stream) noexcept;
  /// A descriptor of the platform that the host has opened, open at once; reads go past the buffer.
  /// With `owned` the file closes it, and the host must not; the standard streams stay open.
  [[nodiscard]] static File FromDescriptor(int descriptor, bool owned) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  /// The source is closed, and has no path, afterwards.
  File(File&& source) noexcept;
  File& operator=(File&&) = delete;
  /// Closes the file; a failure of that goes unseen.
  ~File();

  /// What the constructor found: 0, `StatusFileNotFound`, or why the file can't be looked at.
  [[nodiscard]] int GetStatus() const noexcept { return status; }

  /// Opens the file at its first byte. `Write` creates a missing file only if the object was made
  /// with `OnNotFound::Ignore`. A folder can't be opened.
  [[nodiscard]] int Open(OpenMode mode, AccessDeniedTreatment treatment) noexcept;
  /// The path as the platform writes it; empty for a standard stream, and where no file can be.
  [[nodiscard]] const Vx::String& GetNativePath() const noexcept { return nativePath; }

  [[nodiscard]] bool IsOpen() const noexcept { return descriptor >= 0; }
  /// Whether what is open is a file with a size and a position, and no pipe or device.
  [[nodiscard]] bool IsRegular() const noexcept { return isRegular; }
  /// The file is closed afterwards in any case; a failure means that the system could not keep
  /// something that was written. Returns 0 for a closed file.
  int Close() noexcept;

  /// Writes all bytes from the present position on. A failure leaves in `written`, which may be
  /// null, how many of them reached the file.
  [[nodiscard]] int WriteBin(const char* data, unsigned int size, unsigned int* written) noexcept;

  /// Reads from the present position on. `StatusEndOfInput` says that the input ended before
  /// `size` bytes, with the ones before the end delivered. Success with fewer bytes, but at least
  /// one, comes only from pipes and devices, which deliver what they have.
  [[nodiscard]] int ReadBin(char* buffer, unsigned int size, unsigned int* delivered) noexcept;

  /// The next bytes where they lie, in the buffer, which is filled if it is empty: at least one,
  /// and none with `StatusEndOfInput`. They stay there until the next operation on the file.
  [[nodiscard]] int PeekBin(std::string_view* bytes) noexcept;
  /// Takes the first `size` of the bytes that `PeekBin` returned last.
  void Advance(unsigned int size) noexcept { bufferStart += size; }

  /// Reads from `offset` on, past the buffer, and leaves the position alone; several threads may do
  /// so at once. Otherwise as `ReadBin`. Fails for pipes.
  [[nodiscard]] int ReadAt(Vx::UInt64 offset, char* buffer, unsigned int size,
                           unsigned int* delivered) const noexcept;

  [[nodiscard]] int Seek(SeekOrigin origin, Vx::Int64 offset) noexcept;

  /// Moves the position on by `size` bytes, but not past the end, and leaves in `skipped` by how
  /// many. The next read goes less far ahead, since another skip may follow it.
  [[nodiscard]] int Skip(Vx::UInt64 size, Vx::UInt64* skipped) noexcept;

  /// Truncates the open file to `size` bytes, or lengthens it by zeros.
  [[nodiscard]] int SetSize(Vx::UInt64 size) noexcept;

  /// Bytes from the present position to the end of the file. For a pipe or a device: those that
  /// have been read ahead.
  [[nodiscard]] int GetAvailableSize(Vx::UInt64* size) const noexcept;

  /// Size of the file, which need not be open. Fails where it does not fit 32 bits.
  [[nodiscard]] int GetDataLength(unsigned int* length) const noexcept;

  /// Makes what was written durable. Does nothing on a stream that can't be synced. After a failure
  /// nobody knows what is durable; calling again does not help.
  [[nodiscard]] int Flush() noexcept;

  /// Takes the exclusive lock on the open file, under whatever name others have opened it, and
  /// whatever either is open for. `StatusLocked` if somebody else still holds it after
  /// `waitMilliseconds`. Closing the file releases the lock; so does the end of the process.
  [[nodiscard]] int Lock(unsigned int waitMilliseconds) noexcept;

  /// Of the open file.
  [[nodiscard]] int GetAttributes(Attributes* attributes) const noexcept;
  /// Sets mode and time of modification of the open file.
  [[nodiscard]] int SetAttributes(const Attributes& attributes) noexcept;
  /// Sets its time of modification.
  [[nodiscard]] int SetTime(const Attributes& attributes) noexcept;
  /// Gives the open file the owner and the group of `attributes`. Where the system refuses that, it
  /// may have the group all the same. Others may lose permissions that the mode gave them: set the
  /// owner first.
  [[nodiscard]] int SetOwner(const Attributes& attributes) noexcept;
  /// Gives the open file owner, group, permissions (the lower nine bits of the mode) and time of
  /// one that it replaces, as far as the system lets it; `all` tells whether it did. Nobody gets a
  /// permission that `attributes` doesn't give: where the system doesn't let it, this fails.
  [[nodiscard]] int TakeAccess(const Attributes& attributes, bool* all) noexcept;

 private:
  friend class Folder;
  friend class NewFile;

  [[nodiscard]] unsigned int GetBuffered() const noexcept { return bufferEnd - bufferStart; }
  unsigned int TakeBuffered(char* target, unsigned int size) noexcept;
  int MakeBuffer() noexcept;
  int FillBuffer() noexcept;
  int ReadPiece(char* target, unsigned int size, unsigned int* delivered) noexcept;
  void DropBuffer() noexcept { bufferStart = bufferEnd = 0; }

  File(int openDescriptor, bool keepOpen) noexcept;

  static constexpr int NoFolder = -1;
  // Holds the name and the header of most entries.
  static constexpr unsigned int SizeAfterSkip = 4096;

  Vx::String nativePath;
  Vx::ByteArray readBuffer;
  unsigned int bufferStart = 0;
  unsigned int bufferEnd = 0;
  int status = 0;
  int descriptor = -1;
  int folderDescriptor = NoFolder;  // borrowed; what the path counts from
  bool createIfMissing = false;
  bool isStandard = false;
  bool isRegular = false;
  bool hasSkipped = false;  // since the buffer was filled
};

}  // namespace IO

#include "foundation/IO/File.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/ErrorStatus.h"
#include "foundation/IO/posix/ItemAttributes.h"
#include "foundation/IO/posix/PathText.h"
#include "foundation/Vx/Thread.h"

namespace IO {
namespace {

Posix::Access GetAccess(OpenMode mode, bool createIfMissing) noexcept {
  switch (mode) {
    case OpenMode::Write:
      return createIfMissing ? Posix::Access::WriteCreated : Posix::Access::Write;
    case OpenMode::WriteEmpty:
      return Posix::Access::WriteEmptied;
    case OpenMode::WriteNew:
      return Posix::Access::WriteNew;
    case OpenMode::WriteNewPrivate:
      return Posix::Access::WriteNewPrivate;
    case OpenMode::Update:
      return Posix::Access::ReadAndWrite;
    case OpenMode::Read:
    case OpenMode::ReadShared:
      break;
  }
  return Posix::Access::Read;
}

bool IsRegularFile(int descriptor) noexcept {
  Attributes facts;
  return Posix::ReadAttributes(descriptor, &facts) == 0 && facts.type == EntryType::File;
}

}  // namespace

File::File(const Location& location, OnNotFound onNotFound) noexcept
    : createIfMissing(onNotFound == OnNotFound::Ignore) {
  int error = Posix::LocationToBytes(location, nativePath);
  if (error == 0 && !createIfMissing) {
    Attributes facts;
    error = Posix::ReadAttributes(nativePath, true, &facts);
  }
  if (error == 0 || (createIfMissing && Posix::IsMissing(error))) return;
  status = location.IsValid() ? Posix::LookupStatus(error) : location.GetStatus();
}

File::File(const Folder& folder, const Name& name, OnNotFound onNotFound) noexcept
    : folderDescriptor(folder.descriptor), createIfMissing(onNotFound == OnNotFound::Ignore) {
  if (folder.descriptor < 0) {
    status = folder.status != 0 ? folder.status : StatusFileNotFound;
    return;
  }
  int error = Posix::NameToBytes(name.GetText(), nativePath);
  if (error == 0 && !createIfMissing) {
    Attributes facts;
    error = Posix::ReadAttributes(folderDescriptor, nativePath, false, &facts);
  }
  if (error != 0) status = Posix::LookupStatus(error);
}

File::File(File&& source) noexcept
    : nativePath(std::move(source.nativePath)),
      readBuffer(std::move(source.readBuffer)),
      bufferStart(std::exchange(source.bufferStart, 0)),
      bufferEnd(std::exchange(source.bufferEnd, 0)),
      status(source.status),
      descriptor(std::exchange(source.descriptor, -1)),
      folderDescriptor(source.folderDescriptor),
      createIfMissing(source.createIfMissing),
      isStandard(std::exchange(source.isStandard, false)),
      isRegular(source.isRegular) {}

File::File(int openDescriptor, bool keepOpen) noexcept
    : descriptor(openDescriptor), isStandard(keepOpen), isRegular(IsRegularFile(openDescriptor)) {}

File::File(StandardStream stream) noexcept : File(static_cast<int>(stream), true) {}

File File::FromDescriptor(int descriptor, bool owned) noexcept {
  return File(descriptor, !owned);
}

File::~File() {
  Close();
}

int File::Open(OpenMode mode, AccessDeniedTreatment) noexcept {
  if (IsOpen()) return StatusAlreadyOpen;
  // Without a path no file can ever be there; the status says why.
  if (nativePath.IsEmpty()) return status != 0 ? status : StatusFileNotFound;
  const bool reads = mode != OpenMode::Write && mode != OpenMode::WriteEmpty;
  if (const int outcome = reads ? MakeBuffer() : StatusSuccess; outcome != 0) return outcome;
  const bool inFolder = folderDescriptor != NoFolder;
  const Posix::Access access = GetAccess(mode, createIfMissing);
  const int error = inFolder ? Posix::OpenFileIn(folderDescriptor, nativePath, access, &descriptor)
                             : Posix::OpenFile(nativePath, access, &descriptor);
  if (error != 0) return Posix::LookupStatus(error);
  Attributes facts;
  const int unknown = Posix::ReadAttributes(descriptor, &facts);
  isRegular = facts.type == EntryType::File;
  const bool wanted = isRegular || (!inFolder && facts.type != EntryType::Folder);
  if (unknown == 0 && wanted) return StatusSuccess;
  Close();
  if (unknown != 0) return Posix::FileStatus(unknown);
  return facts.type == EntryType::Folder ? StatusIsAFolder : StatusNotAFile;
}

int File::Close() noexcept {
  if (!IsOpen()) return StatusSuccess;
  DropBuffer();
  const int closed = std::exchange(descriptor, -1);
  if (std::exchange(isStandard, false)) return StatusSuccess;
  return Posix::WriteStatus(Posix::Close(closed));
}

int File::WriteBin(const char* data, unsigned int size, unsigned int* written) noexcept {
  std::size_t count = 0;
  int outcome = StatusNotOpen;
  if (IsOpen()) outcome = Posix::WriteStatus(Posix::Write(descriptor, data, size, &count));
  if (written != nullptr) *written = static_cast<unsigned int>(count);
  return outcome;
}

int File::ReadBin(char* buffer, unsigned int size, unsigned int* delivered) noexcept {
  *delivered = 0;
  if (!IsOpen()) return StatusNotOpen;
  unsigned int total = TakeBuffered(buffer, size);
  while (total < size) {
    // What a pipe has not sent yet may take long to come: return what there is.
    if (total > 0 && !isRegular) break;
    unsigned int count = 0;
    const int outcome = ReadPiece(buffer + total, size - total, &count);
    total += count;
    *delivered = total;
    if (outcome != StatusSuccess) return outcome;
  }
  *delivered = total;
  return StatusSuccess;
}

int File::ReadAt(unsigned __int64 offset, char* buffer, unsigned int size,
                 unsigned int* delivered) const noexcept {
  *delivered = 0;
  if (!IsOpen()) return StatusNotOpen;
  while (*delivered < size) {
    std::size_t count = 0;
    const int error = Posix::ReadAt(descriptor, offset + *delivered, buffer + *delivered,
                                    size - *delivered, &count);
    if (error != 0) return Posix::ReadStatus(error);
    if (count == 0) return StatusEndOfInput;
    *delivered += static_cast<unsigned int>(count);
  }
  return StatusSuccess;
}

unsigned int File::TakeBuffered(char* target, unsigned int size) noexcept {
  const unsigned int count = std::min(size, GetBuffered());
  if (count > 0) std::memcpy(target, readBuffer.get() + bufferStart, count);
  bufferStart += count;
  return count;
}

int File::PeekBin(std::string_view* bytes) noexcept {
  *bytes = {};
  if (!IsOpen()) return StatusNotOpen;
  if (GetBuffered() == 0) {
    if (const int outcome = FillBuffer(); outcome != StatusSuccess) return outcome;
  }
  *bytes = {readBuffer.get() + bufferStart, GetBuffered()};
  return StatusSuccess;
}

int File::MakeBuffer() noexcept {
  if (!readBuffer) readBuffer.reset(static_cast<char*>(Vx::NewArrayOperator(BufferSize)));
  return readBuffer ? StatusSuccess : StatusOutOfMemory;
}

// With an empty buffer: one system call.
int File::FillBuffer() noexcept {
  // A standard stream is not opened.
  if (const int outcome = MakeBuffer(); outcome != StatusSuccess) return outcome;
  DropBuffer();
  std::size_t count = 0;
  const unsigned int wanted = std::exchange(hasSkipped, false) ? SizeAfterSkip : BufferSize;
  const int error = Posix::Read(descriptor, readBuffer.get(), wanted, &count);
  if (error != 0) return Posix::ReadStatus(error);
  bufferEnd = static_cast<unsigned int>(count);
  return count == 0 ? StatusEndOfInput : StatusSuccess;
}

// With an empty buffer: one system call, straight to the target if that is as large.
int File::ReadPiece(char* target, unsigned int size, unsigned int* delivered) noexcept {
  if (size < BufferSize) {
    const int outcome = FillBuffer();
    *delivered = TakeBuffered(target, size);
    return outcome;
  }
  std::size_t count = 0;
  const int error = Posix::Read(descriptor, target, size, &count);
  if (error != 0) return Posix::ReadStatus(error);
  *delivered = static_cast<unsigned int>(count);
  return count == 0 ? StatusEndOfInput : StatusSuccess;
}

int File::Seek(SeekOrigin origin, __int64 offset) noexcept {
  if (!IsOpen()) return StatusNotOpen;
  // The system's position is after what has been read ahead.
  if (origin == SeekOrigin::Current) offset -= GetBuffered();
  const int error = Posix::Seek(descriptor, origin, offset, nullptr);
  if (error == 0) DropBuffer();
  return Posix::FileStatus(error);
}

int File::Skip(unsigned __int64 size, unsigned __int64* skipped) noexcept {
  *skipped = 0;
  if (!IsOpen()) return StatusNotOpen;
  const auto buffered = static_cast<unsigned int>(std::min<unsigned __int64>(size, GetBuffered()));
  Advance(buffered);
  *skipped = buffered;
  if (size == buffered) return StatusSuccess;
  Attributes facts;
  if (const int error = Posix::ReadAttributes(descriptor, &facts); error != 0) {
    return Posix::FileStatus(error);
  }
  // From anywhere this reaches the end.
  const auto step = static_cast<__int64>(std::min(size - buffered, facts.size));
  __int64 position = 0;
  int error = Posix::Seek(descriptor, SeekOrigin::Current, step, &position);
  if (error != 0) return Posix::FileStatus(error);
  DropBuffer();
  hasSkipped = true;
  const __int64 start = position - step;
  const __int64 end = std::max(start, static_cast<__int64>(facts.size));
  if (position > end) error = Posix::Seek(descriptor, SeekOrigin::Begin, end, nullptr);
  if (error != 0) return Posix::FileStatus(error);
  *skipped += static_cast<unsigned __int64>(std::min(position, end) - start);
  return StatusSuccess;
}

int File::SetSize(unsigned __int64 size) noexcept {
  if (!IsOpen()) return StatusNotOpen;
  return Posix::WriteStatus(Posix::SetSize(descriptor, size));
}

int File::GetAvailableSize(unsigned __int64* size) const noexcept {
  if (!IsOpen()) return StatusNotOpen;
  *size = GetBuffered();
  if (!isRegular) return StatusSuccess;
  Attributes facts;
  __int64 position = 0;
  int error = Posix::ReadAttributes(descriptor, &facts);
  if (error == 0) error = Posix::Seek(descriptor, SeekOrigin::Current, 0, &position);
  if (error != 0) return Posix::FileStatus(error);
  const auto passed = static_cast<unsigned __int64>(position);
  if (facts.size > passed) *size += facts.size - passed;
  return StatusSuccess;
}

int File::GetDataLength(unsigned int* length) const noexcept {
  if (!IsOpen() && nativePath.IsEmpty()) return status != 0 ? status : StatusFileNotFound;
  Attributes facts;
  const int error = IsOpen() ? Posix::ReadAttributes(descriptor, &facts)
                             : Posix::ReadAttributes(nativePath, true, &facts);
  if (error != 0) return Posix::LookupStatus(error);
  if (facts.type == EntryType::Folder) return StatusIsAFolder;
  if (facts.size > 0xFFFFFFFFU) return StatusTooLarge;
  *length = static_cast<unsigned int>(facts.size);
  return StatusSuccess;
}

int File::Flush() noexcept {
  if (!IsOpen()) return StatusNotOpen;
  return Posix::WriteStatus(Posix::SyncData(descriptor));
}

int File::Lock(unsigned int waitMilliseconds) noexcept {
  constexpr unsigned int step = 5;  // milliseconds; the system has no wait that ends
  if (!IsOpen()) return StatusNotOpen;
  int error = Posix::TryLock(descriptor);
  for (unsigned int waited = 0; error == EWOULDBLOCK && waited < waitMilliseconds; waited += step) {
    Vx::Thread::Sleep(step, true);
    error = Posix::TryLock(descriptor);
  }
  return Posix::FileStatus(error);
}

int File::GetAttributes(Attributes* attributes) const noexcept {
  if (!IsOpen()) return StatusNotOpen;
  return Posix::FileStatus(Posix::ReadAttributes(descriptor, attributes));
}

int File::SetAttributes(const Attributes& attributes) noexcept {
  if (!IsOpen()) return StatusNotOpen;
  return Posix::FileStatus(Posix::WriteAttributes(descriptor, attributes));
}

int File::SetTime(const Attributes& attributes) noexcept {
  if (!IsOpen()) return StatusNotOpen;
  return Posix::FileStatus(Posix::WriteTime(descriptor, attributes));
}

int File::SetOwner(const Attributes& attributes) noexcept {
  if (!IsOpen()) return StatusNotOpen;
  return Posix::FileStatus(Posix::WriteOwner(descriptor, attributes));
}

int File::TakeAccess(const Attributes& attributes, bool* all) noexcept {
  constexpr unsigned int permissionBits = 0777;
  constexpr unsigned int ownerBits = 0700;
  constexpr unsigned int everybodyBits = 0007;
  *all = SetOwner(attributes) == 0;
  Attributes made;
  if (const int failure = GetAttributes(&made); failure != 0) return failure;
  Attributes wanted = attributes;
  wanted.mode &= permissionBits;
  const unsigned int mode = wanted.mode;
  if (made.group != attributes.group) {
    // Members of the old group are others now, and the new group is made of others.
    const unsigned int everybody = mode & (mode >> 3U) & everybodyBits;
    wanted.mode = (mode & ownerBits) | everybody << 3U | everybody;
  }
  const int result = SetAttributes(wanted);
  if (const int failure = GetAttributes(&made); failure != 0) return failure;
  *all =
      *all && made.owner == attributes.owner && made.group == attributes.group && made.mode == mode;
  // A file system that keeps no modes refuses to set them, and gives every file the same.
  if ((made.mode & ~mode) == 0) return StatusSuccess;
  return result != 0 ? result : StatusAccessDenied;
}

}  // namespace IO

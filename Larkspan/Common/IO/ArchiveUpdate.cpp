#include "Larkspan/Common/IO/ArchiveUpdate.h"

#include <algorithm>
#include <string_view>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/ChannelCopy.h"
#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;
using ::IO::DataSafety;

constexpr unsigned int CopyStepSize = 0x8000;

// The largest room that is built in memory, and written by one call.
constexpr unsigned int BlockSize = 0x100000;

[[noreturn]] void Fail(const char* message, unsigned int line) {
  throw ArchiveException(message, __FILE__, line);
}

template <class Item>
[[noreturn]] void Fail(const char* message, const Item& item, int status, unsigned int line) {
  throw ::IO::WithDetail(ArchiveException(message, __FILE__, line), item, status);
}

void PutHeaders(const ArchiveHeaders& headers, ArchiveOBinaryChannel& archive, bool sealed) {
  for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
  if (sealed) archive.PromiseSeal();
}

// The reserved size, doubled until the headers fit. Fails as writing the header would.
unsigned int FittingSize(const ArchiveHeaders& headers, const ArchiveRoom& room) {
  if (room.reservedSize == 0) return 0;
  return WrapFailuresAs<ArchiveException>(
      "Failed to update archive file: failed to write archive header.",
      [&] { return FitReservedHeaderSize(headers, room.reservedSize, room.sealPromised); });
}

ArchiveRoom ReadRoom(::IO::File& file) {
  ArchiveFileReader reader(file);
  const unsigned int reservedSize = reader.GetChannel().GetReservedHeaderSize();
  return {reservedSize, reader.GetChannel().GetEnd().IsSealPromised()};
}

// Keeps the beginning of what is written.
class BeginningOutput final : public Vx::OBinaryChannel {
 public:
  explicit BeginningOutput(unsigned __int64 sizeLimit) noexcept : left(sizeLimit) {}

  void Write(const char* data, unsigned int size) override {
    const auto kept = static_cast<unsigned int>(std::min<unsigned __int64>(size, left));
    if (kept != 0) beginning.Write(data, kept);
    left -= kept;
  }
  void Flush() override {}
  void Close() override {}

  [[nodiscard]] std::string_view GetBytes() const noexcept {
    return {beginning.GetBuffer(), beginning.GetSize()};
  }

 private:
  Vx::MemoryOBinaryChannel beginning;
  unsigned __int64 left;
};

void WriteTo(::IO::File& file, const char* data, unsigned int size) {
  if (const int status = file.WriteBin(data, size, nullptr); status != 0) {
    Fail("Failed to update archive file: failed to write archive file.", file, status, __LINE__);
  }
}

// The headers fit the room, which is as large as a file claims: no memory is taken for all of it.
void WriteInPlace(::IO::File& file, const ArchiveHeaders& headers, const ArchiveRoom& room) {
  const unsigned __int64 headerSize = GetArchiveHeaderSize(headers, room.sealPromised);
  BeginningOutput block(std::max<unsigned __int64>(headerSize, BlockSize));
  ArchiveOBinaryChannel archive(block, room.reservedSize);
  PutHeaders(headers, archive, room.sealPromised);
  archive.Flush();
  if (const int status = file.Seek(::IO::SeekOrigin::Begin, 0); status != 0) {
    Fail("Failed to update archive file: failed to write archive file.", file, status, __LINE__);
  }
  // One call for the whole block: a kill leaves all or nothing of each 4096 bytes.
  const auto written = static_cast<unsigned int>(block.GetBytes().size());
  WriteTo(file, block.GetBytes().data(), written);
  // Behind the headers there are only zeros.
  unsigned int left = room.reservedSize - written;
  const unsigned int step = std::min(left, BlockSize);
  const Vx::ByteArray zeros = Vx::NewByteArray(step);
  std::fill_n(zeros.get(), step, '\0');
  for (; left != 0; left -= std::min(left, step)) WriteTo(file, zeros.get(), std::min(left, step));
  if (const int status = file.Flush(); status != 0) {
    Fail("Failed to update archive file: failed to flush archive file.", file, status, __LINE__);
  }
}

// The location of the file itself, where `location` is a link to it: names are swapped there.
::IO::Location FollowLink(const ::IO::Location& location) {
  ::IO::Attributes attributes;
  ::IO::Location resolved;
  const bool isLink = ::IO::fileSystem.GetAttributes(location, &attributes, false) == 0 &&
                      attributes.type == ::IO::EntryType::SymbolicLink;
  return isLink && ::IO::fileSystem.Resolve(location, resolved) == 0 ? resolved : location;
}

// What changes of this archive that died have left: none that lives can, under the archive's lock.
// What has the copy's name is never emptied instead of that: it may be a link, and lead anywhere.
void RemoveLeftovers(const ::IO::Location& location, const ::IO::File& locked) {
  const ::IO::Location archive = FollowLink(location);
  const ::IO::Location copy = archive.GetSibling(u".updated");
  ::IO::Attributes attributes;
  if (::IO::fileSystem.GetAttributes(copy, &attributes, false) == 0 &&
      attributes.type != ::IO::EntryType::Folder) {
    ::IO::fileSystem.Delete(copy, DataSafety::None, AccessDeniedTreatment::Report);
  }
  ::IO::Location folder;
  ::IO::Name name;
  if (archive.Split(folder, name) == 0) {
    ::IO::Folder(folder, ::IO::OnNotFound::Ignore).RemoveLeftovers(locked);
  }
}

// Whether the file has that name: 0 if it does, `StatusNotFound` if it leads to another one, else
// why that isn't known.
int LooksAt(const ::IO::Location& location, const ::IO::File& file) {
  ::IO::Attributes named;
  ::IO::Attributes opened;
  int status = ::IO::fileSystem.GetAttributes(location, &named, false);
  if (status == 0) status = file.GetAttributes(&opened);
  if (status != 0) return status;
  return named.IsSameItem(opened) ? 0 : ::IO::StatusNotFound;
}

bool IsAt(const ::IO::Location& location, const ::IO::File& file) {
  return LooksAt(location, file) == 0;
}

void RemoveFrom(const ::IO::Location& location, const ::IO::File& file) {
  if (!IsAt(location, file)) return;
  ::IO::fileSystem.Delete(location, DataSafety::None, AccessDeniedTreatment::Report);
}

::IO::File MakeCopy(const ::IO::Location& location) {
  ::IO::File file(location, ::IO::OnNotFound::Ignore);
  int status = file.GetStatus();
  if (status == 0) {
    status = file.Open(::IO::OpenMode::WriteNewPrivate, AccessDeniedTreatment::Report);
  }
  if (status == 0) return file;
  throw ::IO::WithDetail(
      Vx::IOException("Failed to create file binary output channel: failed to open file.", __FILE__,
                      __LINE__),
      file, status);
}

// Gives the copy to the owner of the archive while there is nothing in it to read. Returns whether
// the system let it have all of owner, group and permissions; it never has wider ones.
bool KeepOwner(const ::IO::File& archive, ::IO::File& copy) {
  ::IO::Attributes old;
  bool kept = false;
  int status = archive.GetAttributes(&old);
  if (status == 0) status = copy.TakeAccess(old, &kept);
  if (status != 0) {
    Fail("Failed to update archive file: failed to keep its permissions.", copy, status, __LINE__);
  }
  return kept;
}

void CopyEntry(ArchiveIBinaryChannel& source, const ArchiveEntry& entry,
               ArchiveOBinaryChannel& target) {
  ArchiveHeaders headers(0, 0);
  for (const auto& [name, value] : entry.EnumerateHeaders()) headers.Put(name, value);
  target.PutNextEntry(entry.GetName(), headers, entry.GetMethod());
  CopyChannel(source, target, CopyStepSize);
  source.CloseEntry();
  target.CloseEntry();
}

// `room` is that of the copy.
void CopyArchive(::IO::File& archive, ::IO::File& copy, const ArchiveHeaders& headers,
                 const ArchiveRoom& room) {
  FileOBinaryChannel file(copy);
  Vx::BufferedOBinaryChannel output(file, CopyStepSize);
  ArchiveOBinaryChannel target(output, room.reservedSize);
  ArchiveFileReader source(archive);
  PutHeaders(headers, target, room.sealPromised);
  for (auto entry = source.GetNextEntry(); entry; entry = source.GetNextEntry()) {
    CopyEntry(source.GetChannel(), *entry, target);
  }
  target.Flush();
  const ArchiveEnd::State end = source.GetChannel().GetEnd().state;
  if (end == ArchiveEnd::State::Unknown) {
    Fail("Failed to update archive file: its end can't be read.", __LINE__);
  }
  if (!room.sealPromised) {
    // Whatever it is: a name with a flipped bit may hide entries in it.
    const std::string_view tail = source.GetChannel().GetTail();
    output.Write(tail.data(), static_cast<unsigned int>(tail.size()));
  } else if (end == ArchiveEnd::State::SealedRight) {
    target.WriteSeal();
  } else {
    Fail("Failed to update archive file: its seal is missing or wrong.", __LINE__);
  }
  source.Close();
  target.Flush();
  target.Close();
}

// The names of the archive and its copy, in one folder.
class Names final {
 public:
  explicit Names(const ::IO::Location& location)
      : archive(FollowLink(location)), copy(GetRewriteLocation(archive)) {}

  [[nodiscard]] const ::IO::Location& GetCopy() const noexcept { return copy; }

  // Swaps them.
  void Exchange() const {
    ::IO::Location folderLocation;
    ::IO::Name archiveName;
    ::IO::Name copyName;
    int status = archive.Split(folderLocation, archiveName);
    if (status == 0) status = copy.GetLastLocalName(copyName);
    if (status != 0) {
      Fail("Failed to update archive file: failed to get target folder location.", archive, status,
           __LINE__);
    }
    ::IO::Folder folder(folderLocation, ::IO::OnNotFound::Fail);
    status = folder.GetStatus();
    if (status != 0) {
      Fail("Failed to update archive file: failed to get target folder.", folderLocation, status,
           __LINE__);
    }
    status = folder.Exchange(archiveName, copyName, AccessDeniedTreatment::Report);
    if (status != 0) {
      Fail(
          "Failed to update archive file: failed to exchange archive and temporary archive "
          "files.",
          archive, status, __LINE__);
    }
  }

 private:
  ::IO::Location archive;
  ::IO::Location copy;
};

// `room` is that of the new file. Returns whether it has the owner of the old one.
bool Rewrite(const ::IO::Location& location, ArchiveLock& lock, const ArchiveHeaders& headers,
             const ArchiveRoom& room) {
  const Names names(location);
  ::IO::File copy = MakeCopy(names.GetCopy());
  bool ownerKept = false;
  try {
    // Who finds it under the archive's name has to wait until its old name is free.
    if (const int status = copy.Lock(0); status != 0) {
      Fail("Failed to update archive file: failed to lock archive file.", copy, status, __LINE__);
    }
    ownerKept = KeepOwner(lock.GetFile(), copy);
    CopyArchive(lock.GetFile(), copy, headers, room);
    names.Exchange();
    if (const int status = LooksAt(names.GetCopy(), lock.GetFile()); status != 0) {
      // Somebody who doesn't lock has put another file under the name: that one is to stay.
      names.Exchange();
      Fail("Failed to update archive file: the file was replaced meanwhile.", names.GetCopy(),
           status, __LINE__);
    }
  } catch (...) {
    RemoveFrom(names.GetCopy(), copy);
    throw;
  }
  RemoveFrom(names.GetCopy(), lock.GetFile());
  lock.TakeOver(std::move(copy));
  return ownerKept;
}

}  // namespace

::IO::Location GetRewriteLocation(const ::IO::Location& location) {
  const ::IO::Location archive = FollowLink(location);
  CheckMemory(archive);
  ::IO::Location copy = archive.GetSibling(u".updated");
  CheckMemory(copy);
  if (!copy.IsValid()) {
    Fail("Failed to update archive file: failed to get temporary file location.", __LINE__);
  }
  return copy;
}

bool NeedsRewrite(const ArchiveHeaders& headers, const ArchiveRoom& room) {
  return room.reservedSize == 0 || FittingSize(headers, room) != room.reservedSize;
}

ArchiveUpdateResult UpdateArchiveHeaders(const ::IO::Location& location, ArchiveLock& lock,
                                         const ArchiveHeaders& headers) {
  const ArchiveRoom room = ReadRoom(lock.GetFile());
  RemoveLeftovers(location, lock.GetFile());
  const ArchiveRoom fitting{FittingSize(headers, room), room.sealPromised};
  ArchiveUpdateResult result;
  result.reservedSize = fitting.reservedSize;
  if (room.sealPromised) result.headerCheck = ArchiveEnd::HeaderCheck::Right;
  if (room.reservedSize == 0 || fitting.reservedSize != room.reservedSize) {
    result.ownerKept = Rewrite(location, lock, headers, fitting);
  } else {
    lock.CheckWritable();
    WriteInPlace(lock.GetFile(), headers, room);
  }
  return result;
}

}  // namespace Larkspan::Common::IO

#include "Larkspan/Common/IO/ArchiveUpdate.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveRewrite.h"
#include "Larkspan/Common/IO/ChannelCopy.h"
#include "Larkspan/Common/IO/FailureGuard.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

namespace Larkspan::Common::IO {
namespace {

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

void CopyEntry(ArchiveIBinaryChannel& source, const ArchiveEntry& entry,
               ArchiveOBinaryChannel& target) {
  ArchiveHeaders headers(0, 0);
  for (const auto& [name, value] : entry.EnumerateHeaders()) headers.Put(name, value);
  target.PutNextEntry(entry.GetName(), headers, entry.GetMethod());
  CopyChannel(source, target, CopyStepSize);
  source.CloseEntry();
  target.CloseEntry();
}

// Encodes the entries of the archive anew, and ends the new one as the old one ends.
void CopyArchive(::IO::File& archive, bool sealPromised, ArchiveOBinaryChannel& target,
                 Vx::OBinaryChannel& output) {
  ArchiveFileReader source(archive);
  for (auto entry = source.GetNextEntry(); entry; entry = source.GetNextEntry()) {
    CopyEntry(source.GetChannel(), *entry, target);
  }
  target.Flush();
  const ArchiveEnd::State end = source.GetChannel().GetEnd().state;
  if (end == ArchiveEnd::State::Unknown) {
    Fail("Failed to update archive file: its end can't be read.", __LINE__);
  }
  if (!sealPromised) {
    // Whatever it is: a name with a flipped bit may hide entries in it.
    const std::string_view tail = source.GetChannel().GetTail();
    output.Write(tail.data(), static_cast<unsigned int>(tail.size()));
  } else if (end == ArchiveEnd::State::SealedRight) {
    target.WriteSeal();
  } else {
    Fail("Failed to update archive file: its seal is missing or wrong.", __LINE__);
  }
  source.Close();
}

// What the file is like after a change of its headers, but for its owner.
ArchiveUpdateResult ExpectResult(const ArchiveHeaders& headers, const ArchiveRoom& room) {
  ArchiveUpdateResult result;
  result.reservedSize = FittingSize(headers, room);
  if (room.sealPromised) result.headerCheck = ArchiveEnd::HeaderCheck::Right;
  return result;
}

void Rewrite(const ::IO::Location& location, ArchiveLock& lock, const ArchiveHeaders& headers,
             bool sealPromised, ArchiveUpdateResult& result, const WriteEntries& write) {
  const auto writeFile = [&](Vx::OBinaryChannel& file) {
    Vx::BufferedOBinaryChannel output(file, CopyStepSize);
    ArchiveOBinaryChannel target(output, result.reservedSize);
    PutHeaders(headers, target, sealPromised);
    write(target, output);
    target.Flush();
    target.Close();
  };
  result.ownerKept = RewriteArchive(location, lock, std::ref(writeFile));
}

}  // namespace

bool NeedsRewrite(const ArchiveHeaders& headers, const ArchiveRoom& room) {
  return room.reservedSize == 0 || FittingSize(headers, room) != room.reservedSize;
}

ArchiveUpdateResult UpdateArchiveHeaders(const ::IO::Location& location, ArchiveLock& lock,
                                         const ArchiveHeaders& headers) {
  const ArchiveRoom room = ReadRoom(lock.GetFile());
  RemoveRewriteLeftovers(location, lock.GetFile());
  ArchiveUpdateResult result = ExpectResult(headers, room);
  if (room.reservedSize == 0 || result.reservedSize != room.reservedSize) {
    const auto write = [&](ArchiveOBinaryChannel& target, Vx::OBinaryChannel& output) {
      CopyArchive(lock.GetFile(), room.sealPromised, target, output);
    };
    Rewrite(location, lock, headers, room.sealPromised, result, std::ref(write));
  } else {
    lock.CheckWritable();
    WriteInPlace(lock.GetFile(), headers, room);
  }
  return result;
}

ArchiveUpdateResult UpdateArchiveEntries(const ::IO::Location& location, ArchiveLock& lock,
                                         const ArchiveHeaders& headers, const WriteEntries& write) {
  const ArchiveRoom room = ReadRoom(lock.GetFile());
  RemoveRewriteLeftovers(location, lock.GetFile());
  ArchiveUpdateResult result = ExpectResult(headers, room);
  Rewrite(location, lock, headers, room.sealPromised, result, write);
  return result;
}

}  // namespace Larkspan::Common::IO

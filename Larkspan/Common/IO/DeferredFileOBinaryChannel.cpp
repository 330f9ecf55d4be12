#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"

#include <algorithm>
#include <utility>

#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/BufferedIBinaryChannel.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/Ref.h"

namespace Larkspan::Common::IO {
namespace {

// Between the two stages and from the file to the target, data goes in steps of this size.
constexpr unsigned int CopyBufferSize = 0x80000;

[[noreturn]] void FailAsIncomplete(unsigned int line) {
  throw Vx::IOException(
      "Deferred file binary output channel is incomplete: an earlier write failed.", __FILE__,
      line);
}

}  // namespace

DeferredFileOBinaryChannel::DeferredFileOBinaryChannel(const ::IO::Location& fileLocation,
                                                       unsigned __int64 thresholdSize)
    : DeferredFileOBinaryChannel(fileLocation, thresholdSize, ::IO::OpenMode::WriteEmpty) {}

DeferredFileOBinaryChannel::DeferredFileOBinaryChannel(const ::IO::Location& fileLocation,
                                                       unsigned __int64 thresholdSize,
                                                       ::IO::OpenMode openMode)
    : ThresholdingOBinaryChannel(thresholdSize), location(fileLocation), mode(openMode) {
  CheckLocation(fileLocation);
  if (thresholdSize > 0xFFFFFFFFU) {
    throw Vx::IllegalArgumentException(
        "Invalid threshold: threshold is larger than maximum supported size.", __FILE__, __LINE__);
  }
  if (mode != ::IO::OpenMode::WriteEmpty && mode != ::IO::OpenMode::WriteNew &&
      mode != ::IO::OpenMode::WriteNewPrivate) {
    throw Vx::IllegalArgumentException("Invalid open mode: mode does not make a file.", __FILE__,
                                       __LINE__);
  }
  // Copying a location never throws: having had no memory is a state of the copy.
  if (!location.IsValid()) Vx::ThrowOutOfMemory();
  std::unique_ptr<MemoryStage> pages(Vx::New<MemoryStage>(0U));
  memory = pages.get();
  output = std::move(pages);
}

DeferredFileOBinaryChannel::~DeferredFileOBinaryChannel() = default;

void DeferredFileOBinaryChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  if (incomplete) FailAsIncomplete(__LINE__);
  try {
    ThresholdingOBinaryChannel::Write(data, size);
  } catch (...) {
    // Bytes that the file was to take may have got there in part.
    if (memory == nullptr && data != nullptr && size != 0) incomplete = true;
    throw;
  }
}

void DeferredFileOBinaryChannel::Close() {
  try {
    ThresholdingOBinaryChannel::Close();
  } catch (...) {
    // Systems may tell of a failed write as late as that.
    if (memory == nullptr) incomplete = true;
    throw;
  }
}

void DeferredFileOBinaryChannel::WriteTo(Vx::OBinaryChannel& target) const {
  if (!IsClosed()) {
    throw Vx::IOException("Deferred file binary output channel hasn't been closed yet.", __FILE__,
                          __LINE__);
  }
  if (memory != nullptr) {  // complete even if the file could not be made
    memory->WriteTo(target);
    return;
  }
  // The file was made for a write that was then refused, and none since has led past the threshold.
  if (incomplete || !IsThresholdExceeded()) FailAsIncomplete(__LINE__);
  WriteFileTo(target);
}

Vx::OBinaryChannel& DeferredFileOBinaryChannel::GetOutputChannel() {
  return *output;
}

Vx::OBinaryChannel& DeferredFileOBinaryChannel::GetOutputChannel() const {
  return *output;
}

void DeferredFileOBinaryChannel::ThresholdReached() {
  incomplete = true;  // until all of this is done
  std::unique_ptr<FileOBinaryChannel> file(Vx::New<FileOBinaryChannel>(location, mode));
  // In the form that leaves the file open when the buffer goes.
  Vx::BufferedOBinaryChannel buffered(*file, CopyBufferSize);
  memory->WriteTo(buffered);
  buffered.Flush();
  memory = nullptr;
  output = std::move(file);  // frees the pages
  incomplete = false;
}

void DeferredFileOBinaryChannel::WriteFileTo(Vx::OBinaryChannel& target) const {
  Vx::BufferedIBinaryChannel source(
      Vx::MakeRef<FileIBinaryChannel, Vx::AtomicCounter>(location, FileShare::NoShare),
      CopyBufferSize);
  char piece[0x4000];
  // Not more than was written, even if the target appends to this very file.
  unsigned __int64 left = GetCount();
  while (left > 0) {
    const auto wanted = static_cast<unsigned int>(std::min<unsigned __int64>(left, sizeof(piece)));
    const unsigned int delivered = source.Read(piece, wanted, source.ReadSome);
    if (delivered == 0) {
      throw ::IO::WithDetail(
          Vx::IOException("Failed to read deferred file: file is shorter than what was written.",
                          __FILE__, __LINE__),
          location, ::IO::StatusEndOfInput);
    }
    target.Write(piece, delivered);
    left -= delivered;
  }
  source.Close();
}

}  // namespace Larkspan::Common::IO

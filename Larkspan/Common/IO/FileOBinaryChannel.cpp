#include "Larkspan/Common/IO/FileOBinaryChannel.h"

#include "Larkspan/Common/IO/CloseInDestructor.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

[[noreturn]] void FailToOpen(unsigned int line) {
  throw Vx::IOException("Failed to create file binary output channel: failed to open file.",
                        __FILE__, line);
}

// What went wrong with a write that should have taken `size` bytes; null if nothing did.
const char* GetWriteFailure(int status, unsigned int written, unsigned int size) noexcept {
  switch (status) {
    case ::IO::StatusOutputFull:
      return "Failed to write to file binary output channel: output is full.";
    case ::IO::StatusWriteError:
      return "Failed to write to file binary output channel: write error.";
    case ::IO::StatusSuccess:
      return written == size ? nullptr
                             : "Failed to write to file binary output channel: write error.";
    default:
      return "Failed to write to file binary output channel.";
  }
}

}  // namespace

FileOBinaryChannel::FileOBinaryChannel(const ::IO::Location& location, bool append,
                                       const FileShare& share)
    : file(location, ::IO::OnNotFound::Ignore) {
  CheckFileLocation(location);
  if (share != FileShare::NoShare) {
    throw Vx::IllegalArgumentException("Invalid file share: file share is not supported yet.",
                                       __FILE__, __LINE__);
  }
  if (file.GetStatus() != 0) FailToOpen(__LINE__);
  const auto mode = append ? ::IO::OpenMode::Write : ::IO::OpenMode::WriteEmpty;
  if (file.Open(mode, ::IO::AccessDeniedTreatment::Report) != 0) FailToOpen(__LINE__);
  if (append && file.Seek(::IO::SeekOrigin::End, 0) != 0) {
    file.Close();
    FailToOpen(__LINE__);
  }
}

FileOBinaryChannel::~FileOBinaryChannel() {
  CloseInDestructor(*this);
}

void FileOBinaryChannel::Write(const char* data, unsigned int size) {
  if (data == nullptr) {
    throw Vx::IllegalArgumentException("Invalid source buffer: buffer is null.", __FILE__,
                                       __LINE__);
  }
  if (size == 0) {
    throw Vx::IllegalArgumentException("Invalid source buffer length: length is 0.", __FILE__,
                                       __LINE__);
  }
  CheckOpened();
  unsigned int written = 0;
  const int status = file.WriteBin(data, size, &written);
  if (const char* failure = GetWriteFailure(status, written, size); failure != nullptr) {
    throw Vx::IOException(failure, __FILE__, __LINE__);
  }
}

void FileOBinaryChannel::Flush() {
  CheckOpened();
}

void FileOBinaryChannel::Close() {
  if (!opened) return;
  if (file.IsOpen() && file.Close() != 0) {
    throw Vx::IOException("Failed to close file binary output channel.", __FILE__, __LINE__);
  }
  opened = false;
}

void FileOBinaryChannel::CheckOpened(const char* fileName, unsigned int lineNumber) const {
  if (!opened) throw Vx::IOException("File binary output channel is closed.", fileName, lineNumber);
}

}  // namespace Larkspan::Common::IO

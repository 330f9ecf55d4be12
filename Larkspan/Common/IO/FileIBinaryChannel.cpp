#include "Larkspan/Common/IO/FileIBinaryChannel.h"

#include <algorithm>
#include <utility>

#include "Larkspan/Common/IO/CloseInDestructor.h"
#include "Larkspan/Common/IO/FileNotFoundException.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

[[noreturn]] void FailToOpen(const ::IO::File& file, int status, unsigned int line) {
  throw ::IO::WithDetail(
      Vx::IOException("Failed to create file binary input channel: failed to open file.", __FILE__,
                      line),
      file, status);
}

[[noreturn]] void FailToRead(const ::IO::File& file, int status, unsigned int line) {
  throw ::IO::WithDetail(
      Vx::IOException("Failed to read from file binary input channel.", __FILE__, line), file,
      status);
}

}  // namespace

FileIBinaryChannel::FileIBinaryChannel(const ::IO::Location& location, const FileShare& share)
    : own(std::in_place, location, ::IO::OnNotFound::Fail), file(*own) {
  CheckFileLocation(location);
  if (file.GetStatus() == ::IO::StatusFileNotFound) {
    throw ::IO::WithDetail(
        FileNotFoundException("Failed to create file binary input channel: file not found.",
                              __FILE__, __LINE__),
        file, file.GetStatus());
  }
  if (file.GetStatus() != 0) FailToOpen(file, file.GetStatus(), __LINE__);
  const auto mode = share == FileShare::NoShare ? ::IO::OpenMode::Read : ::IO::OpenMode::ReadShared;
  const int status = file.Open(mode, ::IO::AccessDeniedTreatment::Report);
  if (status != 0) FailToOpen(file, status, __LINE__);
}

FileIBinaryChannel::FileIBinaryChannel(::IO::File&& openFile)
    : own(std::in_place, std::move(openFile)), file(*own) {
  if (!file.IsOpen()) FailToOpen(file, ::IO::StatusNotOpen, __LINE__);
}

FileIBinaryChannel::FileIBinaryChannel(::IO::File& openFile) : file(openFile) {
  if (!file.IsOpen()) FailToOpen(file, ::IO::StatusNotOpen, __LINE__);
}

FileIBinaryChannel::~FileIBinaryChannel() {
  CloseInDestructor(*this);
}

unsigned int FileIBinaryChannel::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  if (buffer == nullptr) {
    throw Vx::IllegalArgumentException("Invalid destination buffer: buffer is null.", __FILE__,
                                       __LINE__);
  }
  if (size == 0) {
    throw Vx::IllegalArgumentException("Invalid destination buffer length: length is 0.", __FILE__,
                                       __LINE__);
  }
  CheckOpened();
  unsigned int count = 0;
  const int status = file.ReadBin(buffer, size, &count);
  if (status == ::IO::StatusEndOfInput) return count;
  if (status != 0 || count == 0) FailToRead(file, status, __LINE__);
  return count;
}

std::string_view FileIBinaryChannel::Peek() {
  CheckOpened();
  std::string_view bytes;
  const int status = file.PeekBin(&bytes);
  if (status != 0 && status != ::IO::StatusEndOfInput) FailToRead(file, status, __LINE__);
  return bytes;
}

unsigned __int64 FileIBinaryChannel::Skip(unsigned __int64 size) {
  // Where frames are small, many of them lie in the buffer.
  if (const std::string_view buffered = Peek(); size <= buffered.size()) {
    Advance(static_cast<unsigned int>(size));
    return size;
  }
  unsigned __int64 skipped = 0;
  const int status = file.Skip(size, &skipped);
  if (status != 0) FailToRead(file, status, __LINE__);
  return skipped;
}

unsigned __int64 FileIBinaryChannel::GetAvailable() const {
  CheckOpened();
  unsigned __int64 size = 0;
  if (const int status = file.GetAvailableSize(&size); status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to get available data size of file binary input channel.", __FILE__,
                        __LINE__),
        file, status);
  }
  return size;
}

void FileIBinaryChannel::Close() {
  if (!opened) return;
  if (const int status = own ? own->Close() : 0; status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to close file binary input channel.", __FILE__, __LINE__), file,
        status);
  }
  opened = false;
}

void FileIBinaryChannel::CheckOpened(const char* fileName, unsigned int lineNumber) const {
  if (!opened) throw Vx::IOException("File binary input channel is closed.", fileName, lineNumber);
}

}  // namespace Larkspan::Common::IO

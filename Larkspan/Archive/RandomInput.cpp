#include "Larkspan/Archive/RandomInput.h"

#include <utility>

#include "Larkspan/Common/IO/FileNotFoundException.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"

namespace Larkspan::Archive {
namespace {

[[noreturn]] void FailToOpen(const ::IO::File& file, int status, unsigned int line) {
  constexpr const char* Message = "Failed to open random input.";
  if (status == ::IO::StatusFileNotFound) {
    throw ::IO::WithDetail(Common::IO::FileNotFoundException(Message, __FILE__, line), file,
                           status);
  }
  throw ::IO::WithDetail(Vx::IOException(Message, __FILE__, line), file, status);
}

::IO::File OpenFile(const ::IO::Location& location) {
  ::IO::File file(location, ::IO::OnNotFound::Fail);
  int status = file.GetStatus();
  if (status == 0) status = file.Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report);
  if (status != 0) FailToOpen(file, status, __LINE__);
  return file;
}

}  // namespace

RandomInput::~RandomInput() = default;

FileRandomInput::FileRandomInput(const ::IO::Location& location)
    : FileRandomInput(OpenFile(location)) {}

FileRandomInput::FileRandomInput(::IO::File&& openFile) : own(std::move(openFile)), file(*own) {
  TakeSize();
}

FileRandomInput::FileRandomInput(const ::IO::File& openFile) : file(openFile) {
  TakeSize();
}

void FileRandomInput::TakeSize() {
  ::IO::Attributes attributes;
  int status = file.GetAttributes(&attributes);
  if (status == 0 && !file.IsRegular()) status = ::IO::StatusNotAFile;
  if (status != 0) FailToOpen(file, status, __LINE__);
  size = attributes.size;
}

FileRandomInput::~FileRandomInput() = default;

unsigned int FileRandomInput::ReadAt(unsigned __int64 offset, char* buffer,
                                     unsigned int count) const {
  unsigned int delivered = 0;
  const int status = file.ReadAt(offset, buffer, count, &delivered);
  if (status != 0 && status != ::IO::StatusEndOfInput) {
    throw ::IO::WithDetail(Vx::IOException("Failed to read from random input.", __FILE__, __LINE__),
                           file, status);
  }
  return delivered;
}

}  // namespace Larkspan::Archive

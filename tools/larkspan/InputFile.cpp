#include "tools/larkspan/InputFile.h"

#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

constexpr unsigned int DefaultMode = 0644;

}  // namespace

InputFile::InputFile(const ::IO::Location& location, const ::IO::Attributes& found,
                     Progress& watcher)
    : progress(watcher),
      place(location),
      file(location, ::IO::OnNotFound::Ignore),
      attributes(found) {
  status = file.Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report);
}

// A pipe has no time of its own, and gets none, so that equal input gives equal bytes.
InputFile::InputFile(Progress& watcher) : progress(watcher), file(::IO::StandardStream::Input) {
  EndWhereBlocked();
  if (file.GetAttributes(&attributes) != 0) attributes.type = ::IO::EntryType::Other;
  attributes.mode = DefaultMode;
}

InputFile::~InputFile() = default;

std::string InputFile::GetSubject() const {
  return place.IsEmpty() ? "standard input" : ToPrintable(place);
}

bool InputFile::HasChanged() const noexcept {
  if (attributes.type != ::IO::EntryType::File) return false;
  ::IO::Attributes now;
  return file.GetAttributes(&now) != 0 || now.size != attributes.size ||
         now.modifiedSeconds != attributes.modifiedSeconds ||
         now.modifiedNanoseconds != attributes.modifiedNanoseconds;
}

unsigned int InputFile::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  CheckInterruption();
  unsigned int delivered = 0;
  if (ended) return delivered;
  const int result = file.ReadBin(buffer, size, &delivered);
  ended = result == ::IO::StatusEndOfInput;
  if (result != 0 && !ended) {
    throw SystemFailure(GetSubject(), "can't be read to its end", result);
  }
  progress.Advance(delivered);
  return delivered;
}

unsigned __int64 InputFile::GetAvailable() const {
  unsigned __int64 size = 0;
  return file.GetAvailableSize(&size) == 0 ? size : 0;
}

void InputFile::Close() {
  file.Close();
}

}  // namespace Tool

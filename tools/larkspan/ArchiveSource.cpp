#include "tools/larkspan/ArchiveSource.h"

#include <algorithm>

#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

::IO::File MakeFile(const std::string& argument) {
  if (argument == "-") return ::IO::File(::IO::StandardStream::Input);
  return ::IO::File(LocationFromArgument(argument), ::IO::OnNotFound::Ignore);
}

}  // namespace

ArchiveSource::ArchiveSource(const std::string& argument)
    : subject(argument == "-" ? "standard input" : ToPrintable(argument)),
      file(MakeFile(argument)),
      isNamed(argument != "-") {
  EndWhereBlocked();  // a file's name may be a pipe's
  if (!isNamed) ClaimStandardInput();
  if (argument == "-" && ::IO::IsTerminal(::IO::StandardStream::Input)) {
    throw Failure(ExitCode::WrongUsage, subject, "no archive comes from a terminal");
  }
  if (!file.IsOpen()) {
    const int status = file.Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report);
    if (status != 0) throw SystemFailure(subject, "can't be opened", status);
  }
  if (!file.IsRegular()) return;
  fileSize = GetAvailable();
  // Whoever opened the standard input may have read some of it.
  ::IO::Attributes facts;
  if (file.GetAttributes(&facts) == 0) origin = facts.size - fileSize;
}

ArchiveSource::~ArchiveSource() = default;

unsigned int ArchiveSource::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  CheckInterruption();
  unsigned int delivered = 0;
  Check(file.ReadBin(buffer, size, &delivered));
  position += delivered;
  return delivered;
}

// On any thread: an interruption is seen by the one that waits for the data.
unsigned int ArchiveSource::ReadAt(unsigned __int64 offset, char* buffer,
                                   unsigned int count) const {
  unsigned int delivered = 0;
  Check(file.ReadAt(origin + offset, buffer, count, &delivered));
  return delivered;
}

std::string_view ArchiveSource::Peek() {
  CheckInterruption();
  std::string_view bytes;
  Check(file.PeekBin(&bytes));
  return bytes;
}

void ArchiveSource::Advance(unsigned int size) {
  file.Advance(size);
  position += size;
}

unsigned __int64 ArchiveSource::Skip(unsigned __int64 size) {
  // Where frames are small, many of them lie in the buffer.
  if (const std::string_view buffered = Peek(); size <= buffered.size()) {
    Advance(static_cast<unsigned int>(size));
    return size;
  }
  const unsigned __int64 count = std::min(size, GetAvailable());
  MoveTo(position + count);
  return count;
}

void ArchiveSource::MoveTo(unsigned __int64 target) {
  const auto distance = static_cast<__int64>(target - position);
  Check(file.Seek(::IO::SeekOrigin::Current, distance));
  position = target;
}

void ArchiveSource::Check(int status) const {
  if (status != ::IO::StatusSuccess && status != ::IO::StatusEndOfInput) {
    throw SystemFailure(subject, "can't be read", status);
  }
}

unsigned __int64 ArchiveSource::GetAvailable() const {
  unsigned __int64 size = 0;
  return file.GetAvailableSize(&size) == ::IO::StatusSuccess ? size : 0;
}

void ArchiveSource::Close() {
  file.Close();
}

}  // namespace Tool

#include "tools/larkspan/TemporaryFile.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <utility>

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "tools/larkspan/Failure.h"

namespace Tool {
namespace {

constexpr auto Report = ::IO::AccessDeniedTreatment::Report;

// 64 random bits, so that nobody can put a link in the way of a name yet to come.
::IO::Location MakePlace(const ::IO::Location& folder) {
  static std::random_device device;
  char name[32];
  std::snprintf(name, sizeof(name), ".larkspan-%08x%08x", device(), device());
  ::IO::Location place(folder);
  const int status = place.AppendToLocal(::IO::Name(Vx::UniString::FromUTF8(name)));
  return status == 0 ? place : ::IO::Location();
}

}  // namespace

TemporaryFile::TemporaryFile(const ::IO::Location& folder, std::string printableName)
    : place(MakePlace(folder)),
      subject(std::move(printableName)),
      unfinished(place),
      file(place, ::IO::OnNotFound::Ignore) {
  const int status = file.Open(::IO::OpenMode::WriteEmpty, Report);
  if (status != 0) unfinished.Keep();
  Check(status, "can't be made");
}

void TemporaryFile::Check(int status, const char* action) const {
  if (status != 0) throw SystemFailure(subject, action, status);
}

void TemporaryFile::Close() {
  Check(file.Close(), "can't be written");
}

void TemporaryFile::Complete(const ::IO::Name& name, Naming naming) {
  Close();
  const int status = naming == Naming::Replacing ? ::IO::fileSystem.Replace(place, name, Report)
                                                 : ::IO::fileSystem.Move(place, name, Report);
  Check(status, "can't be given its name");
  unfinished.Keep();
}

void TemporaryFile::CompleteOnDisk(const ::IO::Name& name, Naming naming) {
  Check(file.Flush(), "can't be brought to the disk");
  Complete(name, naming);
  ::IO::Folder folder(place.GetParent(), ::IO::OnNotFound::Fail);
  Check(folder.Flush(), "the new name can't be brought to the disk");
}

}  // namespace Tool

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
::IO::Location MakeLocation(const ::IO::Location& folder) {
  static std::random_device device;
  char name[32];
  std::snprintf(name, sizeof(name), ".larkspan-%08x%08x", device(), device());
  ::IO::Location location(folder);
  const int status = location.AppendToLocal(::IO::Name(Vx::UniString::FromUTF8(name)));
  return status == 0 ? location : ::IO::Location();
}

}  // namespace

TemporaryFile::TemporaryFile(const ::IO::Location& folder, std::string printableName)
    : location(MakeLocation(folder)),
      subject(std::move(printableName)),
      unfinished(location),
      file(location, ::IO::OnNotFound::Ignore) {
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
  const int status = naming == Naming::Replacing ? ::IO::fileSystem.Replace(location, name, Report)
                                                 : ::IO::fileSystem.Move(location, name, Report);
  Check(status, "can't be given its name");
  unfinished.Keep();
}

void TemporaryFile::CompleteDurably(const ::IO::Name& name, Naming naming) {
  Check(file.Flush(), "can't be synced");
  Complete(name, naming);
  ::IO::Folder folder(location.GetParent(), ::IO::OnNotFound::Fail);
  Check(folder.Flush(), "the new name can't be synced");
}

}  // namespace Tool

#include "tools/larkspan/TargetFile.h"

#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"

namespace Tool {

using ::IO::EntryType;
using ::IO::NewFile;

TargetFile::TargetFile(const std::string& argument, bool mayReplace)
    : subject(ToPrintable(argument)),
      naming(mayReplace ? NewFile::Naming::Replacing : NewFile::Naming::IfFree) {
  const ::IO::Location location = LocationFromArgument(argument);
  FindPresent(location, mayReplace);
  ::IO::Location parent;
  if (location.Split(parent, name) != 0) {
    throw Failure(ExitCode::WrongUsage, subject, "not a file name");
  }
  folder.emplace(parent, ::IO::OnNotFound::Fail);
  Check(folder->GetStatus(), "can't be made");
}

void TargetFile::FindPresent(const ::IO::Location& location, bool mayReplace) {
  ::IO::Attributes attributes;
  int status = ::IO::fileSystem.GetAttributes(location, &attributes, false);
  if (status == ::IO::StatusNotFound) return;
  if (status == 0 && attributes.type == EntryType::SymbolicLink) {
    status = ::IO::fileSystem.GetAttributes(location, &attributes, true);
    if (status == ::IO::StatusNotFound) status = 0;
  }
  Check(status, "can't be made");
  if (attributes.type == EntryType::Folder || attributes.type == EntryType::Other) {
    throw Failure(ExitCode::SystemFailure, subject, "is not a file");
  }
  if (!mayReplace) {
    throw Failure(ExitCode::SystemFailure, subject, "exists already; --force replaces it");
  }
  if (attributes.type == EntryType::File) present = attributes;
}

void TargetFile::Check(int status, const char* action) const {
  if (status != 0) throw SystemFailure(subject, action, status);
}

::IO::File& TargetFile::Make(Console& console) {
  file.emplace(*folder, present ? NewFile::Access::Private : NewFile::Access::Ordinary);
  Check(file->GetStatus(), "can't be made");
  bool taken = true;
  if (present) {
    Check(file->GetFile().TakeAccess(*present, &taken), "can't be as private as the present one");
  }
  if (!taken) console.Warn(subject, "owner, group or permissions of the present one can't be kept");
  return file->GetFile();
}

void TargetFile::Complete() {
  Check(file->GetFile().Flush(), "can't be synced");
  Check(file->Complete(name, naming), "can't be given its name");
  Check(folder->Flush(), "the new name can't be synced");
}

}  // namespace Tool

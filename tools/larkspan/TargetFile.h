#pragma once

#include <optional>
#include <string>

#include "foundation/IO/Folder.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Name.h"
#include "foundation/IO/NewFile.h"
#include "tools/larkspan/Console.h"

namespace Tool {

/// The file in which an archive is made. It gets its name when it is complete and synced, and is as
/// private as the file that it replaces. Failures are thrown as `Failure`.
class TargetFile final {
 public:
  /// Makes nothing yet. Throws if something stands there that is not to be replaced.
  TargetFile(const std::string& argument, bool mayReplace);

  /// The file that will be replaced, if there is one.
  [[nodiscard]] const std::optional<::IO::Attributes>& GetPresent() const noexcept {
    return present;
  }
  /// The path, for messages.
  [[nodiscard]] const std::string& GetSubject() const noexcept { return subject; }

  /// Makes the file. Warns if it can't have owner, group and permissions of the one it replaces.
  [[nodiscard]] ::IO::File& Make(Console& console);
  /// Gives it its name. File and name are durable afterwards.
  void Complete();

 private:
  void FindPresent(const ::IO::Location& location, bool mayReplace);
  void Check(int status, const char* action) const;

  const std::string subject;
  ::IO::NewFile::Naming naming;
  std::optional<::IO::Attributes> present;
  ::IO::Name name;
  std::optional<::IO::Folder> folder;
  std::optional<::IO::NewFile> file;
};

}  // namespace Tool

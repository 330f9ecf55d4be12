#pragma once

#include <string>

#include "foundation/IO/File.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Name.h"
#include "tools/larkspan/UnfinishedFile.h"

namespace Tool {

/// A new file that stands beside its final path until it is complete, under a name that nobody can
/// guess. Deleted by the destructor unless completed. Failures are thrown as `Failure`.
class TemporaryFile final {
 public:
  /// Whether a file that has the name already is replaced, or a failure.
  enum class Naming : int { IfFree, Replacing };

  /// Makes the file. `printableName` is what it will be, for messages.
  TemporaryFile(const ::IO::Location& folder, std::string printableName);

  [[nodiscard]] ::IO::File& GetFile() noexcept { return file; }

  /// Gives the file its name. It is complete after that, but perhaps not durable.
  void Complete(const ::IO::Name& name, Naming naming);
  /// The same; file and name are durable afterwards.
  void CompleteDurably(const ::IO::Name& name, Naming naming);

 private:
  void Close();
  void Check(int status, const char* action) const;

  const ::IO::Location location;
  const std::string subject;
  UnfinishedFile unfinished;
  ::IO::File file;
};

}  // namespace Tool

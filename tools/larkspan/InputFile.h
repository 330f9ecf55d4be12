#pragma once

#include <string>

#include "foundation/IO/File.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "tools/larkspan/Progress.h"

namespace Tool {

/// A file whose data goes into an archive, or the standard input. What the system refuses to read
/// is thrown as `Failure`, an interruption as `Interrupted`.
class InputFile final : public Vx::IBinaryChannel {
 public:
  /// A file of which `found` was known when it was found. `GetStatus` tells whether it is open.
  InputFile(const ::IO::Location& location, const ::IO::Attributes& found, Progress& watcher);
  /// The standard input, which has a time only if it is a file.
  explicit InputFile(Progress& watcher);
  ~InputFile() override;

  [[nodiscard]] int GetStatus() const noexcept { return status; }
  /// For messages.
  [[nodiscard]] std::string GetSubject() const;
  /// What the archive keeps of it.
  [[nodiscard]] const ::IO::Attributes& GetAttributes() const noexcept { return attributes; }
  /// Whether it has another size or time now than what `GetAttributes` says.
  [[nodiscard]] bool HasChanged() const noexcept;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  void Close() override;

 private:
  Progress& progress;
  const ::IO::Location place;  // empty for the standard input
  ::IO::File file;
  ::IO::Attributes attributes;
  int status = 0;
  bool ended = false;
};

}  // namespace Tool

#pragma once

#include <string>
#include <utility>

#include "Larkspan/Archive/ArchiveChange.h"
#include "foundation/IO/Attributes.h"
#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"

namespace Tool {

/// An archive that a command changes, locked. What the change meets is told to the console.
class ArchiveEditor final {
 public:
  using Change = Larkspan::Archive::ArchiveChange;

  ArchiveEditor(const std::string& argument, Console& messages);
  ArchiveEditor(const ArchiveEditor&) = delete;
  ArchiveEditor& operator=(const ArchiveEditor&) = delete;

  [[nodiscard]] Change& GetChange() noexcept { return change; }
  [[nodiscard]] const std::string& GetSubject() const noexcept { return subject; }
  /// The archive's file, as it was found.
  [[nodiscard]] const ::IO::Attributes& GetAttributes() const noexcept { return before; }

  /// Throws `Failure` for an archive that could lose entries by a rewrite, with why it doesn't end
  /// as it should; `reason` stands before that.
  void CheckEnd(const std::string& reason = "");
  /// Writes the change. Copied entries are verified by `jobs` threads.
  void Commit(unsigned int jobs = ::IO::GetProcessorCount(), const Change::Append& append = {});

 private:
  void CheckRoom() const;
  void CheckHeader();

  Console& console;
  const Vx::UniString title;
  const std::string subject;
  const ::IO::Location location;
  Change change;
  const ::IO::Attributes before;
};

/// What a failure of the library to change the archive is for the user: the archive's fault, if
/// reading it fails, or the system's.
[[nodiscard]] Failure DescribeChangeFailure(const std::string& argument,
                                            const VxException& exception, Console& console);

/// Runs `work(ArchiveEditor&)` on the archive. `-` is none.
template <class Work>
void EditArchive(const std::string& argument, Console& console, Work&& work) {
  if (argument == "-") {
    throw Failure(ExitCode::WrongUsage, "-", "an archive is changed in a file; name one");
  }
  PresentFailures(
      [&] {
        ArchiveEditor editor(argument, console);
        work(editor);
      },
      [&](const VxException& exception) {
        return DescribeChangeFailure(argument, exception, console);
      });
}

}  // namespace Tool

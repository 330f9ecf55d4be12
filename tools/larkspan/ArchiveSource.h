#pragma once

#include <string>
#include <string_view>

#include "Larkspan/Archive/RandomInput.h"
#include "foundation/IO/File.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/SkippableInput.h"

namespace Tool {

/// The bytes of an archive, from a file or the standard input. What the system refuses is thrown
/// as `Failure`, which no channel above takes for the end of the input; an interruption as
/// `Interrupted`. A file can also be read at any place.
class ArchiveSource final : public Vx::IBinaryChannel,
                            public Larkspan::Archive::RandomInput,
                            public Vx::PeekableInput,
                            public Vx::SkippableInput {
 public:
  /// Opens the file that `argument` names; `-` is the standard input.
  explicit ArchiveSource(const std::string& argument);
  ~ArchiveSource() override;

  /// The archive's name for messages.
  [[nodiscard]] const std::string& GetSubject() const noexcept { return subject; }
  /// How many bytes were read or passed over.
  [[nodiscard]] unsigned __int64 GetPosition() const noexcept { return position; }

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  void Close() override;

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override {
    return ::IO::File::BufferSize;
  }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override;
  [[nodiscard]] bool CanSkip() const noexcept override { return file.IsRegular(); }
  [[nodiscard]] unsigned __int64 Skip(unsigned __int64 size) override;

  /// Whether the archive can be read at any place.
  [[nodiscard]] bool IsFile() const noexcept { return file.IsRegular(); }
  /// Whether it is what an argument names, and not the standard input.
  [[nodiscard]] bool IsNamed() const noexcept { return isNamed; }
  [[nodiscard]] unsigned __int64 GetSize() const noexcept override { return fileSize; }
  [[nodiscard]] unsigned int ReadAt(unsigned __int64 offset, char* buffer,
                                    unsigned int count) const override;

 private:
  void MoveTo(unsigned __int64 target);
  void Check(int status) const;

  const std::string subject;
  ::IO::File file;
  const bool isNamed;
  unsigned __int64 origin = 0;  // where the archive begins in the file
  unsigned __int64 fileSize = 0;
  unsigned __int64 position = 0;
};

}  // namespace Tool

#pragma once

#include <optional>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/FileShare.h"
#include "foundation/IO/File.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/SkippableInput.h"

namespace Larkspan::Common::IO {

/// Reads a file. One `Read` is one read of the file object. A read of no bytes, or into a null
/// buffer, throws `Vx::IllegalArgumentException`. The destructor closes the file.
class LARKSPAN_API FileIBinaryChannel final : public Vx::IBinaryChannel,
                                              public Vx::PeekableInput,
                                              public Vx::SkippableInput {
 public:
  /// Opens the file. Throws `Vx::IllegalArgumentException` for a location that is not valid or
  /// empty, `FileNotFoundException` for a missing file, and `Vx::IOException` for one that can't
  /// be opened.
  FileIBinaryChannel(const ::IO::Location& location, const FileShare& share);
  /// Takes over a file that is open for reading, and reads from its position on. Throws
  /// `Vx::IOException` for one that is not open.
  explicit FileIBinaryChannel(::IO::File&& openFile);
  /// The same with a file that stays the caller's, and open, whatever becomes of the channel.
  explicit FileIBinaryChannel(::IO::File& openFile);
  ~FileIBinaryChannel() override;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  /// The bytes from the present position to the end of the file.
  [[nodiscard]] Vx::UInt64 GetAvailable() const override;
  /// If it fails, the channel does not count as closed and `Close` can be called again; the file
  /// itself is closed.
  void Close() override;

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override {
    return ::IO::File::BufferSize;
  }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override { file.Advance(size); }

  [[nodiscard]] bool CanSkip() const noexcept override { return file.IsRegular(); }
  [[nodiscard]] Vx::UInt64 Skip(Vx::UInt64 size) override;

 private:
  void CheckOpened(const char* fileName = __builtin_FILE(),
                   unsigned int lineNumber = __builtin_LINE()) const;

  std::optional<::IO::File> own;
  ::IO::File& file;
  bool opened = true;
};

}  // namespace Larkspan::Common::IO

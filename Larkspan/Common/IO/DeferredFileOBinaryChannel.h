#pragma once

#include <memory>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/PagedBufferOBinaryChannel.h"
#include "Larkspan/Common/IO/ThresholdingOBinaryChannel.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/OpenMode.h"

namespace Larkspan::Common::IO {

/// Keeps what is written in memory up to a threshold, and moves it into a file before the write
/// that leads past it: a small output never touches the file system. Once closed, `WriteTo` pours
/// the output into another channel from wherever it lies.
///
/// From the move on, writes go to the file unbuffered, and the memory is free. The file is never
/// removed: where `IsThresholdExceeded` says that there is one, and after a failed write, it is
/// the caller's affair.
///
/// If the move fails, `Write` throws `Vx::IOException` from then on, but the memory keeps what it
/// holds, and `WriteTo` pours it: all bytes that count. A file may hold a part of them. If a later
/// write into the file fails, or its closing, nobody knows what the file holds, and `WriteTo`
/// throws too. `Flush` and `Close` work on in both cases. A write that fails in memory has stored
/// nothing and can be tried again, and so has one that is refused for its arguments.
class LARKSPAN_API DeferredFileOBinaryChannel final : public ThresholdingOBinaryChannel {
 public:
  /// Creates no file and takes no memory for data. The threshold, in bytes, is from 1 to
  /// 0xFFFFFFFF; above 0xFFF00000, what memory can't hold throws `Vx::IOException` before it moves
  /// to the file. Throws `Vx::IllegalArgumentException` for another threshold and for a location
  /// that is not valid or empty, and `Vx::OutOfMemoryException`.
  DeferredFileOBinaryChannel(const ::IO::Location& fileLocation, Vx::UInt64 thresholdSize);
  /// The same, with the mode in which the file is opened: `OpenMode::WriteEmpty` as above, or, in a
  /// folder where others may plant something under its name, `OpenMode::WriteNew` or
  /// `OpenMode::WriteNewPrivate`. Throws `Vx::IllegalArgumentException` for any other.
  DeferredFileOBinaryChannel(const ::IO::Location& fileLocation, Vx::UInt64 thresholdSize,
                             ::IO::OpenMode openMode);
  DeferredFileOBinaryChannel(const DeferredFileOBinaryChannel&) = delete;
  DeferredFileOBinaryChannel& operator=(const DeferredFileOBinaryChannel&) = delete;
  /// Closes a file that is open, and leaves it where it is; a failure of that goes unseen.
  ~DeferredFileOBinaryChannel() override;

  using OBinaryChannel::Write;
  /// In memory throws what `PagedBufferOBinaryChannel` does; from the write on that leads past the
  /// threshold, what `FileOBinaryChannel` does. A file that is at the location is emptied then, or,
  /// with the modes for new files, makes the move fail.
  void Write(const char* data, unsigned int size) override;
  void Close() override;

  /// The location of the file, whether or not there is one.
  [[nodiscard]] const ::IO::Location& GetLocation() const noexcept { return location; }

  /// Writes the whole output to `target`, as often as wanted; from the file in chunks of at most
  /// 16,384 bytes, from memory as `PagedBufferOBinaryChannel` does. Closes and flushes nothing.
  /// Throws `Vx::IOException` before `Close`, after a failed write into the file, where a file was
  /// made but no write has led past the threshold, and for a file that is shorter than what was
  /// written, since somebody else changed it; also what reading the file throws, and what
  /// `target` does.
  void WriteTo(Vx::OBinaryChannel& target) const;

 protected:
  [[nodiscard]] Vx::OBinaryChannel& GetOutputChannel() override;
  [[nodiscard]] Vx::OBinaryChannel& GetOutputChannel() const override;
  void ThresholdReached() override;

 private:
  using MemoryStage = PagedBufferOBinaryChannel<0x100000, 1>;

  void WriteFileTo(Vx::OBinaryChannel& target) const;

  std::unique_ptr<Vx::OBinaryChannel> output;
  ::IO::Location location;
  const ::IO::OpenMode mode;
  const MemoryStage* memory = nullptr;  // `output` while it is in memory, then null
  bool incomplete = false;
};

}  // namespace Larkspan::Common::IO

#pragma once

#include <istream>
#include <ostream>
#include <streambuf>
#include <vector>

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Interop {

/// Writes to a standard stream, which must outlive the channel and, like any file that holds bytes,
/// be opened with `std::ios::binary`. What the stream fails at throws `Vx::IOException`, whatever
/// its mask of exceptions. `Close` flushes the stream and leaves it open.
class LARKSPAN_API StreamOBinaryChannel final : public Vx::OBinaryChannel {
 public:
  explicit StreamOBinaryChannel(std::ostream& target) noexcept : stream(target) {}
  ~StreamOBinaryChannel() override;

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override;
  void Flush() override;
  void Close() override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  std::ostream& stream;
  bool closed = false;
};

/// Reads from a standard stream, which must outlive the channel and be opened with
/// `std::ios::binary`. Reads no byte more than it is asked for. A stream that has failed, but for
/// its end, throws `Vx::IOException`. `Close` leaves the stream open.
class LARKSPAN_API StreamIBinaryChannel final : public Vx::IBinaryChannel {
 public:
  explicit StreamIBinaryChannel(std::istream& source) noexcept : stream(source) {}
  ~StreamIBinaryChannel() override;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  /// What the stream holds in its buffer.
  [[nodiscard]] Vx::UInt64 GetAvailable() const override;
  void Close() override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  std::istream& stream;
  bool closed = false;
};

/// Lets a standard stream write to a channel, which must outlive it:
/// `OChannelStreambuf buffer(channel); std::ostream stream(&buffer);`
///
/// Collects up to `BufferSize` bytes. A failure of the channel sets the stream's `badbit`, and is
/// thrown again where the stream's mask of exceptions has it. The destructor writes nothing: flush
/// the stream, and look at its state, before.
class LARKSPAN_API OChannelStreambuf final : public std::streambuf {
 public:
  static constexpr unsigned int BufferSize = 4096;

  explicit OChannelStreambuf(Vx::OBinaryChannel& target);

 protected:
  int_type overflow(int_type unit) override;
  int sync() override;
  std::streamsize xsputn(const char* data, std::streamsize size) override;

 private:
  void PassOn();

  Vx::OBinaryChannel& channel;
  std::vector<char> buffer;
};

/// Lets a standard stream read from a channel, which must outlive it; reads ahead up to
/// `BufferSize` bytes. Failures are told as by `OChannelStreambuf`.
class LARKSPAN_API IChannelStreambuf final : public std::streambuf {
 public:
  static constexpr unsigned int BufferSize = 4096;

  explicit IChannelStreambuf(Vx::IBinaryChannel& source);

 protected:
  int_type underflow() override;

 private:
  Vx::IBinaryChannel& channel;
  std::vector<char> buffer;
};

}  // namespace Larkspan::Interop

#pragma once

namespace Larkspan::Common::IO {

/// How a file is shared while a channel has it open. A value.
class FileShare {
 public:
  enum Share : int {
    NoShare = 0,
    ShareRead = 1,
  };

  FileShare(Share value = NoShare) noexcept : share(value) {}
  FileShare(const FileShare&) noexcept = default;
  FileShare& operator=(const FileShare&) noexcept = default;

  bool operator==(const FileShare& other) const noexcept { return share == other.share; }
  bool operator!=(const FileShare& other) const noexcept { return share != other.share; }
  bool operator==(Share other) const noexcept { return share == other; }
  bool operator!=(Share other) const noexcept { return share != other; }

  operator int() const noexcept { return share; }

 private:
  Share share;
};

}  // namespace Larkspan::Common::IO

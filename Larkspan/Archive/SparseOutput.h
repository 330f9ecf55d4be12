#pragma once

#include <string_view>

#include "Larkspan/Common/Export.h"
#include "foundation/IO/File.h"

namespace Larkspan::Archive {

/// Writes a new file from its first byte on and leaves holes where there are nothing but zeros, as
/// long as they fill aligned blocks of 4096 bytes. Reports by status, and throws nothing.
class LARKSPAN_API SparseOutput final {
 public:
  /// The file is open, new, and outlives this object.
  explicit SparseOutput(::IO::File& target) noexcept : file(target) {}

  [[nodiscard]] int Write(std::string_view data) noexcept;
  /// Gives the file its size: a hole at its end has been left out so far.
  [[nodiscard]] int Finish() noexcept;

 private:
  [[nodiscard]] int WriteData(std::string_view data) noexcept;

  ::IO::File& file;
  Vx::UInt64 position = 0;
  Vx::UInt64 filePosition = 0;
};

}  // namespace Larkspan::Archive

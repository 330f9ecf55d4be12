#pragma once

#include <optional>

#include "Larkspan/Common/Export.h"
#include "foundation/IO/File.h"

namespace Larkspan::Archive {

/// A store that can be read at any place: a file, or whatever a host derives from this, such as
/// an object store with ranged reads. Several threads read at once.
class LARKSPAN_API RandomInput {
 public:
  virtual ~RandomInput();
  RandomInput(const RandomInput&) = delete;
  RandomInput& operator=(const RandomInput&) = delete;

  /// Bytes in the store. It doesn't change.
  [[nodiscard]] virtual Vx::UInt64 GetSize() const noexcept = 0;

  /// Reads `size` bytes from `offset` on, and gives their number, which is smaller only at the end
  /// of the store. Throws `Vx::IOException`.
  [[nodiscard]] virtual unsigned int ReadAt(Vx::UInt64 offset, char* buffer,
                                            unsigned int size) const = 0;

 protected:
  RandomInput() noexcept = default;
};

/// A file as such a store, open as long as the object lives.
class LARKSPAN_API FileRandomInput final : public RandomInput {
 public:
  /// Throws what `Common::IO::FileIBinaryChannel` throws, and `Vx::IOException` for a pipe.
  explicit FileRandomInput(const ::IO::Location& location);
  /// Takes over a file that is open for reading. Throws `Vx::IOException` for a pipe and for a file
  /// that is not open.
  explicit FileRandomInput(::IO::File&& openFile);
  /// The same with a file that stays the caller's, and outlives this object.
  explicit FileRandomInput(const ::IO::File& openFile);
  ~FileRandomInput() override;

  [[nodiscard]] Vx::UInt64 GetSize() const noexcept override { return size; }
  [[nodiscard]] unsigned int ReadAt(Vx::UInt64 offset, char* buffer,
                                    unsigned int count) const override;

 private:
  void TakeSize();

  const std::optional<::IO::File> own;
  const ::IO::File& file;
  Vx::UInt64 size = 0;
};

}  // namespace Larkspan::Archive

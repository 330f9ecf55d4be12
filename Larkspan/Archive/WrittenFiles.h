#pragma once

#include <cstddef>
#include <vector>

#include "foundation/IO/Attributes.h"
#include "foundation/Vx/Types.h"

namespace Larkspan::Archive {

/// The files that an extraction has written, so that they can be told from those that were there
/// before. They are known by device and inode: no name in an archive can make another file look
/// like one of them, or slow the search down, and a million of them take 16 MiB.
class WrittenFiles final {
 public:
  void Add(const ::IO::Attributes& file);
  [[nodiscard]] bool Contains(const ::IO::Attributes& file) const;

 private:
  // Open addressing. 0, which no inode has, is a free slot.
  struct Device {
    unsigned __int64 number;
    std::vector<unsigned __int64> slots;
    std::size_t used = 0;
  };

  [[nodiscard]] static std::size_t FindSlot(const Device& device, unsigned __int64 node) noexcept;
  static void Grow(Device& device);

  std::vector<Device> devices;  // nearly always one
};

}  // namespace Larkspan::Archive

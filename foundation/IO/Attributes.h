#pragma once

#include "foundation/IO/EntryType.h"
#include "foundation/Vx/Types.h"

namespace IO {

/// What the file system knows of an item besides its name and content.
struct Attributes {
  EntryType type = EntryType::File;
  Vx::UInt64 size = 0;            // bytes
  Vx::Int64 modifiedSeconds = 0;  // since 1970-01-01 00:00 UTC
  unsigned int modifiedNanoseconds = 0;
  unsigned int mode = 0;   // the permission bits, 0 to 07777
  unsigned int owner = 0;  // the user's number
  unsigned int group = 0;
  Vx::UInt64 device = 0;
  Vx::UInt64 node = 0;  // the inode

  unsigned int links = 1;    // names of the item
  Vx::UInt64 allocated = 0;  // bytes on the disk: less than the size where there are holes

  /// Whether the file has holes, as far as that shows: some file systems keep short files without
  /// a block of their own.
  [[nodiscard]] bool IsSparse() const noexcept {
    constexpr Vx::UInt64 block = 4096;
    return type == EntryType::File && allocated + block <= size;
  }
  /// Whether both are of one item, perhaps under two names.
  [[nodiscard]] bool IsSameItem(const Attributes& other) const noexcept {
    return device == other.device && node == other.node;
  }

  friend bool operator==(const Attributes&, const Attributes&) noexcept = default;
};

}  // namespace IO

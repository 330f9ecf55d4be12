#pragma once

#include <string_view>
#include <vector>

#include "Larkspan/Archive/EntryPlace.h"
#include "Larkspan/Archive/RandomInput.h"
#include "Larkspan/Common/IO/Codec.h"
#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/Memory.h"

namespace Larkspan::Archive {

/// Decodes blocks of an entry one by one, in any order. Belongs to one thread, which reuses it for
/// one entry after the other.
class BlockReader final {
 public:
  /// A frame of an entry: where its bytes are, without its length.
  struct Frame {
    unsigned __int64 offset;
    unsigned int size;
  };
  using Frames = std::vector<Frame, Vx::Allocator<Frame>>;

  /// A block's plain data, where it was asked for, and the sums of it.
  struct Block {
    std::string_view plain;
    unsigned int crc = 0;
    unsigned int adler = 1;
  };

  static constexpr unsigned int BlockSize = Common::IO::Codec::BlockCodec::MaxBlockSize;

  BlockReader() noexcept = default;

  /// The frames of an entry that may consist of blocks; none of one that doesn't. Reads the length
  /// of each frame. Throws what the store throws.
  [[nodiscard]] static Frames FindBlocks(const RandomInput& input, const EntryPlace& place);
  /// The sum that the last frame ends with.
  [[nodiscard]] static unsigned int ReadSum(const RandomInput& input, const Frame& last);

  /// Decodes a block into `plain`, which has room for one; false if it is none. Throws what the
  /// store throws, and `Vx::OutOfMemoryException`.
  [[nodiscard]] bool Decode(const RandomInput& input, const EntryPlace& place, const Frames& frames,
                            std::size_t block, char* plain, Block& decoded);

  /// Decodes an entry of at most a block that has been read, all of its bytes in the archive, which
  /// begin with `text`, into
  /// `plain`, which has room for its data. False if something is wrong with it, or if it is of
  /// another form than writers make of such entries.
  [[nodiscard]] bool DecodeWhole(const EntryPlace& place, std::string_view text,
                                 std::string_view bytes, char* plain, Block& decoded);

 private:
  Common::IO::Codec::BlockCodec codec;
  Vx::ByteArray encoded;
};

}  // namespace Larkspan::Archive

#pragma once

#include <cstddef>
#include <memory>

#include "Larkspan/Common/Export.h"

/// How bytes are summed, and how blocks of them are deflated and inflated whole: by zlib, and by
/// libdeflate where the build has it. Both read what the other writes, and their sums are the same.
namespace Larkspan::Common::IO::Codec {

/// The CRC-32 of data that has the sum `sum` and goes on with `size` bytes. 0 stands for no data.
[[nodiscard]] LARKSPAN_API unsigned int AddToCRC32(unsigned int sum, const char* data,
                                                   std::size_t size) noexcept;
/// The same for the Adler-32 of RFC 1950. 1 stands for no data.
[[nodiscard]] LARKSPAN_API unsigned int AddToAdler32(unsigned int sum, const char* data,
                                                     std::size_t size) noexcept;
/// The sum of two pieces of data, of which the second has `size` bytes.
[[nodiscard]] LARKSPAN_API unsigned int JoinCRC32(unsigned int first, unsigned int second,
                                                  unsigned int size) noexcept;
[[nodiscard]] LARKSPAN_API unsigned int JoinAdler32(unsigned int first, unsigned int second,
                                                    unsigned int size) noexcept;

enum class Engine {
  Zlib,
  Libdeflate,
};

[[nodiscard]] LARKSPAN_API bool HasEngine(Engine engine) noexcept;
/// Libdeflate where it is there, else zlib.
[[nodiscard]] LARKSPAN_API Engine GetFastestEngine() noexcept;

/// How much time goes into making few bytes.
enum class Level : unsigned char {
  Fast,
  Default,
  Best,
};

/// Whether what `BlockCodec::Deflate` writes ends the stream.
enum class BlockEnd {
  Open,  ///< the stream can go on with another block, at the next byte
  Last,  ///< the stream ends
};

/// Deflates and inflates blocks (RFC 1951) that are there as a whole. Keeps the engine's state from
/// block to block; the blocks don't depend on each other. Belongs to one thread at a time.
class LARKSPAN_API BlockCodec final {
 public:
  /// The most plain bytes that a block has.
  static constexpr std::size_t MaxBlockSize = 0x100000;

  explicit BlockCodec(Engine engine = GetFastestEngine(), Level level = Level::Default) noexcept;
  BlockCodec(const BlockCodec&) = delete;
  BlockCodec& operator=(const BlockCodec&) = delete;
  ~BlockCodec();

  /// The most bytes that `Deflate` writes for `size` bytes.
  [[nodiscard]] static std::size_t GetDeflateBound(std::size_t size) noexcept;

  /// Deflates at most `MaxBlockSize` bytes, and gives the bytes written. `target` has room for
  /// `GetDeflateBound(size)`. The bytes depend on data, engine, level and end alone.
  /// Throws `Vx::OutOfMemoryException`, and `Vx::IOException` if the engine's output does not give
  /// the data again, as faulty memory has it.
  [[nodiscard]] std::size_t Deflate(const char* data, std::size_t size, BlockEnd end, char* target);

  /// Inflates a whole stream: true if `data` is one, from its first to its last byte, and gives
  /// `plainSize` bytes in `plain`. libdeflate is less strict: it takes a few streams that RFC 1951
  /// forbids, where zlib refuses them, so that sums have to tell whether the bytes are the right
  /// ones. Throws `Vx::OutOfMemoryException`.
  [[nodiscard]] bool Inflate(const char* data, std::size_t size, char* plain,
                             std::size_t plainSize);

 private:
  class State;

  [[nodiscard]] State& GetState();

  [[maybe_unused]] const Engine engine;  // without libdeflate there is one alone
  const Level level;
  std::unique_ptr<State> state;
};

}  // namespace Larkspan::Common::IO::Codec

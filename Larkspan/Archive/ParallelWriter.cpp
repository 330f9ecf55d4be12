#include "Larkspan/Archive/ParallelWriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <exception>
#include <vector>

#include "Larkspan/Archive/OrderedTasks.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFormat.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "Larkspan/Common/IO/BigEndian.h"
#include "Larkspan/Common/IO/Codec.h"
#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/IBinaryChannelUtilities.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/Memory.h"

namespace Larkspan::Archive {
namespace {

using Common::IO::ArchiveEntry;
using Common::IO::ArchiveHeaders;
using Common::IO::ArchiveOBinaryChannel;
namespace ArchiveFormat = Common::IO::ArchiveFormat;
namespace Codec = Common::IO::Codec;
using Codec::BlockCodec;

constexpr unsigned int BlockSize = BlockCodec::MaxBlockSize;

// Short entries go to a thread together, so that handing them over costs little.
constexpr unsigned int BatchSize = 0x20000;
constexpr std::size_t MaxPieces = 32;

// What stands before the blocks of a zlib stream, by level: the second byte has it (RFC 1950, 2.2).
constexpr std::array<std::array<char, 2>, 3> StreamHeads = {
    {{'\x78', '\x01'}, {'\x78', '\x9c'}, {'\x78', '\xda'}}};

Codec::Level ToCodecLevel(ParallelWriter::Level level) noexcept {
  if (level == ParallelWriter::Level::Fast) return Codec::Level::Fast;
  return level == ParallelWriter::Level::Best ? Codec::Level::Best : Codec::Level::Default;
}

// A block of an entry: all of a short one's data.
struct Piece {
  ArchiveEntry::Method method;
  bool isFirst;
  bool isLast;
  unsigned int offset;
  unsigned int size;
  std::size_t encodedOffset;
  std::size_t encodedSize;
  unsigned int crc;
  unsigned int adler;
};

struct Batch {
  Batch() : plain(Vx::NewByteArray(BlockSize)), encoded(Vx::NewByteArray(EncodedSize)) {
    pieces.reserve(MaxPieces);
  }

  static constexpr std::size_t EncodedSize = BlockSize + BlockSize / 0x100;

  Vx::ByteArray plain;
  Vx::ByteArray encoded;
  unsigned int plainSize = 0;
  std::vector<Piece, Vx::Allocator<Piece>> pieces;
  std::exception_ptr failure;
};

// Compresses the pieces of batches.
class Encoder final {
 public:
  explicit Encoder(Codec::Level level) noexcept : codec(Codec::GetFastestEngine(), level) {}

  void Do(Batch& batch) noexcept {
    try {
      std::size_t written = 0;
      for (Piece& piece : batch.pieces) written += Encode(batch, piece, written);
    } catch (...) {
      batch.failure = std::current_exception();
    }
  }

 private:
  std::size_t Encode(Batch& batch, Piece& piece, std::size_t offset) {
    const char* const plain = batch.plain.get() + piece.offset;
    piece.crc = Codec::AddToCRC32(0, plain, piece.size);
    if (piece.method == ArchiveEntry::Stored) return 0;
    piece.adler = Codec::AddToAdler32(1, plain, piece.size);
    piece.encodedOffset = offset;
    piece.encodedSize = codec.Deflate(plain, piece.size,
                                      piece.isLast ? Codec::BlockEnd::Last : Codec::BlockEnd::Open,
                                      batch.encoded.get() + offset);
    return piece.encodedSize;
  }

  BlockCodec codec;
};

static_assert(Batch::EncodedSize > BlockSize + (BlockSize / 0x1000 + 1) * 5 + MaxPieces * 69);

}  // namespace

class ParallelWriter::Pipeline final {
 public:
  Pipeline(ArchiveOBinaryChannel& target, unsigned int jobs, Level level)
      : archive(target),
        streamHead(StreamHeads[static_cast<std::size_t>(level)]),
        maxBatches(jobs < 2 ? 2 : 2 * std::size_t{jobs} + 2),
        tasks(jobs, ToCodecLevel(level)) {}

  void Add(const Vx::UniString& name, const ArchiveHeaders& headers, ArchiveEntry::Method method,
           Vx::IBinaryChannel& source) {
    CheckWhole();
    const unsigned int size = ReadFirst(source);
    try {
      entries.push_back({name, headers, method, 0, 0, 1});
      ReadRest(method, source, size);
    } catch (...) {
      broken = true;
      throw;
    }
  }

  void Finish() {
    CheckWhole();
    if (open != nullptr && !open->pieces.empty()) Hand();
    while (!tasks.IsEmpty()) Write(tasks.Take());
  }

 private:
  // What is known of an entry that has not been written to its end.
  struct Entry {
    Vx::UniString name;
    ArchiveHeaders headers;
    ArchiveEntry::Method method;
    unsigned __int64 size;
    unsigned int crc;
    unsigned int adler;
  };

  template <class T>
  using Queue = std::deque<T, Vx::Allocator<T>>;

  void CheckWhole() const {
    if (!broken) return;
    throw Common::IO::ArchiveException("Archive can't be continued, an earlier entry failed.",
                                       __FILE__, __LINE__);
  }

  // Data of up to a block into the open batch, behind what is there.
  unsigned int ReadFirst(Vx::IBinaryChannel& source) {
    if (open == nullptr) open = &GetFree();
    const unsigned int room = BlockSize - open->plainSize;
    unsigned int size = Read(source, *open, open->plainSize, room);
    if (size < room || open->plainSize == 0) return size;
    // The entry is a long one, and gets a batch of its own.
    Batch& next = GetFree();
    std::memcpy(next.plain.get(), open->plain.get() + open->plainSize, size);
    Hand();
    open = &next;
    size += Read(source, next, size, BlockSize - size);
    return size;
  }

  // `size` bytes are in the open batch. Whether a full block is the last shows with the next one.
  void ReadRest(ArchiveEntry::Method method, Vx::IBinaryChannel& source, unsigned int size) {
    bool isFirst = true;
    while (size == BlockSize) {
      Batch& next = GetFree();
      const unsigned int more = Read(source, next, 0, BlockSize);
      if (more == 0) {
        free.push_back(&next);
        break;
      }
      AddPiece(method, isFirst, false, size);
      Hand();
      open = &next;
      size = more;
      isFirst = false;
    }
    AddPiece(method, isFirst, true, size);
    if (open->plainSize >= BatchSize || open->pieces.size() == MaxPieces) Hand();
  }

  static unsigned int Read(Vx::IBinaryChannel& source, const Batch& batch, unsigned int offset,
                           unsigned int size) {
    return Vx::IBinaryChannelUtilities::ReadFully(source, batch.plain.get() + offset, size);
  }

  void AddPiece(ArchiveEntry::Method method, bool isFirst, bool isLast, unsigned int size) {
    open->pieces.push_back({method, isFirst, isLast, open->plainSize, size, 0, 0, 0, 1});
    open->plainSize += size;
  }

  // The open batch goes to a thread.
  void Hand() {
    tasks.Put(*open);
    open = nullptr;
  }

  Batch& GetFree() {
    while (Batch* const done = tasks.TryTake()) Write(*done);
    if (free.empty() && batches.size() < maxBatches) free.push_back(&batches.emplace_back());
    if (free.empty()) Write(tasks.Take());
    Batch& batch = *free.back();
    free.pop_back();
    return batch;
  }

  void Write(Batch& batch) {
    try {
      if (batch.failure) std::rethrow_exception(batch.failure);
      for (const Piece& piece : batch.pieces) Write(batch, piece);
    } catch (...) {
      broken = true;
      throw;
    }
    batch.pieces.clear();
    batch.plainSize = 0;
    free.push_back(&batch);
  }

  void Write(const Batch& batch, const Piece& piece) {
    Entry& entry = entries.front();
    if (piece.isFirst) archive.PutEncodedEntry(entry.name, entry.headers, entry.method);
    entry.size += piece.size;
    entry.crc = Codec::JoinCRC32(entry.crc, piece.crc, piece.size);
    if (entry.method == ArchiveEntry::Deflated) {
      entry.adler = Codec::JoinAdler32(entry.adler, piece.adler, piece.size);
      WriteDeflated(batch, piece, entry.adler);
    } else {
      WriteStored(batch.plain.get() + piece.offset, piece.size);
    }
    if (!piece.isLast) return;
    archive.CloseEncodedEntry(entry.size, entry.crc);
    entries.pop_front();
  }

  void WriteDeflated(const Batch& batch, const Piece& piece, unsigned int adler) {
    const auto size = static_cast<unsigned int>(piece.encodedSize);
    const std::size_t head = piece.isFirst ? streamHead.size() : 0;
    const std::size_t foot = piece.isLast ? sizeof(adler) : 0;
    archive.PutFrame(static_cast<unsigned int>(head + size + foot));
    archive.Write(streamHead.data(), static_cast<unsigned int>(head));
    archive.Write(batch.encoded.get() + piece.encodedOffset, size);
    const auto sum = Common::IO::BigEndian::Encode(adler);
    archive.Write(sum.data(), static_cast<unsigned int>(foot));
  }

  void WriteStored(const char* data, unsigned int size) {
    while (size != 0) {
      const unsigned int count = std::min(size, ArchiveFormat::ChunkSize);
      archive.PutFrame(count);
      archive.Write(data, count);
      data += count;
      size -= count;
    }
  }

  ArchiveOBinaryChannel& archive;
  const std::array<char, 2> streamHead;
  const std::size_t maxBatches;
  Queue<Entry> entries;
  Queue<Batch> batches;
  std::vector<Batch*, Vx::Allocator<Batch*>> free;
  // Where short entries gather.
  Batch* open = nullptr;
  bool broken = false;
  // Last, since its threads work on the batches.
  OrderedTasks<Batch, Encoder> tasks;
};

ParallelWriter::ParallelWriter(ArchiveOBinaryChannel& archive, unsigned int jobs, Level level)
    : pipeline(Vx::New<Pipeline>(archive, CheckedJobs(jobs), level)) {}

ParallelWriter::~ParallelWriter() = default;

void ParallelWriter::Add(const Vx::UniString& name, const ArchiveHeaders& headers,
                         ArchiveEntry::Method method, Vx::IBinaryChannel& source) {
  Common::IO::CheckName(name, Common::IO::EmptyEntryName);
  Common::IO::CheckHeaderNames(headers);
  if (method != ArchiveEntry::Deflated && method != ArchiveEntry::Stored) {
    throw Vx::IllegalArgumentException("Invalid archive entry compression method.", __FILE__,
                                       __LINE__);
  }
  pipeline->Add(name, headers, method, source);
}

void ParallelWriter::Finish() {
  pipeline->Finish();
}

}  // namespace Larkspan::Archive

#include "Larkspan/Archive/ParallelReader.h"

#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

#include "Larkspan/Archive/BlockReader.h"
#include "Larkspan/Archive/OrderedTasks.h"

namespace Larkspan::Archive {
namespace {

constexpr unsigned int BlockSize = BlockReader::BlockSize;

// Short entries go to a thread together, so that handing them over costs little: entries that
// follow each other, with so much plain data and so many bytes in the archive.
constexpr unsigned int BatchSize = 0x40000;
constexpr std::size_t MaxPieces = 64;
constexpr unsigned int MaxEncodedSize = BlockSize + BlockSize / 0x40;

// An entry, or a block of one.
struct Piece {
  std::size_t number;
  unsigned __int64 offset;  // of its bytes in the archive
  unsigned int encodedSize;
  unsigned int plainOffset;
  bool isGood;
  BlockReader::Block block;
};

struct Task {
  Task() : plain(Vx::NewByteArray(BlockSize)) { pieces.reserve(MaxPieces); }

  enum class Kind { Stream, Entries, Block };

  const ArchiveIndex* index = nullptr;
  const RandomInput* input = nullptr;
  Kind kind = Kind::Stream;
  std::vector<Piece, Vx::Allocator<Piece>> pieces;
  // Of a block: all frames of its entry, and which it is.
  std::shared_ptr<const BlockReader::Frames> frames;
  std::size_t block = 0;
  Vx::ByteArray encoded;
  Vx::ByteArray plain;
};

// Decodes the pieces of tasks. What can't be decoded here, for whatever reason, is decoded as a
// stream when its turn comes, and fails then as streams do.
class Decoder final {
 public:
  void Do(Task& task) noexcept {
    try {
      if (task.kind == Task::Kind::Entries) DecodeEntries(task);
      if (task.kind == Task::Kind::Block) DecodeBlock(task);
    } catch (...) {
      // The pieces that are left are not good.
      return;
    }
  }

 private:
  void DecodeEntries(Task& task) {
    if (!task.encoded) task.encoded = Vx::NewByteArray(MaxEncodedSize);
    const unsigned __int64 begin = task.pieces.front().offset;
    const Piece& last = task.pieces.back();
    const auto size = static_cast<unsigned int>(last.offset + last.encodedSize - begin);
    if (task.input->ReadAt(begin, task.encoded.get(), size) != size) return;
    for (Piece& piece : task.pieces) {
      const std::string_view bytes(task.encoded.get() + (piece.offset - begin), piece.encodedSize);
      piece.isGood = reader.DecodeWhole(*task.index, piece.number, bytes,
                                        task.plain.get() + piece.plainOffset, piece.block);
    }
  }

  void DecodeBlock(Task& task) {
    Piece& piece = task.pieces.front();
    piece.isGood = reader.Decode(*task.index, piece.number, *task.frames, task.block,
                                 task.plain.get(), piece.block);
  }

  BlockReader reader;
};

}  // namespace

EntrySink::~EntrySink() = default;

class ParallelReader::Pipeline final {
 public:
  Pipeline(const ArchiveIndex& archiveIndex, unsigned int jobs)
      : index(archiveIndex), maxTasks(jobs < 2 ? 1 : 2 * std::size_t{jobs} + 2), decoders(jobs) {}

  [[nodiscard]] std::size_t GetEntryCount() const noexcept { return index.GetEntryCount(); }

  void Begin(EntrySink& entrySink) noexcept { sink = &entrySink; }

  void Add(std::size_t number) {
    const ArchiveIndex::Place& place = index.GetPlace(number);
    const unsigned __int64 encodedSize = place.end - place.header;
    if (place.size <= BlockSize && encodedSize <= MaxEncodedSize) {
      AddShort(number, place, static_cast<unsigned int>(encodedSize));
    } else {
      AddLong(number);
    }
  }

  void Finish() {
    Hand();
    while (!decoders.IsEmpty()) Deliver(decoders.Take());
  }

 private:
  using Place = ArchiveIndex::Place;

  void AddShort(std::size_t number, const Place& place, unsigned int encodedSize) {
    if (open != nullptr && !FitsIntoOpen(place, encodedSize)) Hand();
    if (open == nullptr) {
      open = &GetFree(Task::Kind::Entries);
      openSize = 0;
    }
    open->pieces.push_back({number, place.header, encodedSize, openSize, false, {}});
    openSize += static_cast<unsigned int>(place.size);
  }

  [[nodiscard]] bool FitsIntoOpen(const Place& place, unsigned int encodedSize) const noexcept {
    const Piece& first = open->pieces.front();
    const Piece& last = open->pieces.back();
    return place.header == last.offset + last.encodedSize && open->pieces.size() < MaxPieces &&
           place.size <= BatchSize && openSize <= BatchSize - place.size &&
           place.header - first.offset + encodedSize <= BatchSize;
  }

  void AddLong(std::size_t number) {
    Hand();
    auto frames =
        std::make_shared<const BlockReader::Frames>(BlockReader::FindBlocks(index, number));
    if (frames->empty()) {
      Task& task = GetFree(Task::Kind::Stream);
      task.pieces.push_back({number, 0, 0, 0, false, {}});
      decoders.Put(task);
    }
    for (std::size_t block = 0; block < frames->size(); ++block) {
      Task& task = GetFree(Task::Kind::Block);
      task.pieces.push_back({number, 0, 0, 0, false, {}});
      task.frames = frames;
      task.block = block;
      decoders.Put(task);
    }
  }

  // The open task goes to a thread.
  void Hand() {
    if (open != nullptr) decoders.Put(*std::exchange(open, nullptr));
  }

  Task& GetFree(Task::Kind kind) {
    while (Task* const done = decoders.TryTake()) Deliver(*done);
    if (free.empty() && tasks.size() < maxTasks) free.push_back(&tasks.emplace_back());
    if (free.empty()) Deliver(decoders.Take());
    Task& task = *free.back();
    free.pop_back();
    task.kind = kind;
    task.index = &index;
    task.input = &index.input;
    return task;
  }

  void Deliver(Task& task) {
    for (const Piece& piece : task.pieces) {
      if (task.kind == Task::Kind::Block) {
        DeliverBlock(task, piece);
      } else {
        sink->Begin(piece.number);
        if (piece.isGood) {
          Write(piece.block.plain);
          sink->End(piece.number, nullptr);
        } else {
          Stream(piece.number, 0);
        }
      }
    }
    task.pieces.clear();
    task.frames.reset();
    free.push_back(&task);
  }

  void DeliverBlock(const Task& task, const Piece& piece) {
    if (task.block == 0) {
      sink->Begin(piece.number);
      delivered = 0;
      crc = 0;
      adler = 1;
      streamed = false;
    }
    if (streamed) return;
    if (!piece.isGood) {
      streamed = true;
      Stream(piece.number, delivered);
      return;
    }
    const auto size = static_cast<unsigned int>(piece.block.plain.size());
    Write(piece.block.plain);
    delivered += size;
    crc = Common::IO::Codec::JoinCRC32(crc, piece.block.crc, size);
    adler = Common::IO::Codec::JoinAdler32(adler, piece.block.adler, size);
    if (task.block + 1 < task.frames->size()) return;
    if (crc == index.GetPlace(piece.number).crc &&
        adler == BlockReader::ReadSum(index, task.frames->back())) {
      sink->End(piece.number, nullptr);
    } else {
      Stream(piece.number, delivered);
    }
  }

  // Reads the entry as a stream, and delivers what comes behind `known` bytes of data. Failures of
  // the sink pass through.
  void Stream(std::size_t number, unsigned __int64 known) {
    if (!buffer) buffer = Vx::NewByteArray(StreamBufferSize);
    Vx::IBinaryChannelRef channel;
    for (unsigned int count = 1; count != 0;) {
      try {
        if (!channel) channel = index.OpenEntry(number);
        count = channel->Read(buffer.get(), StreamBufferSize, Vx::IBinaryChannel::ReadSome);
      } catch (...) {
        sink->End(number, std::current_exception());
        return;
      }
      const auto skipped = static_cast<unsigned int>(std::min<unsigned __int64>(known, count));
      Write({buffer.get() + skipped, count - skipped});
      known -= skipped;
    }
    sink->End(number, nullptr);
  }

  void Write(std::string_view data) {
    if (!data.empty()) sink->Write(data.data(), static_cast<unsigned int>(data.size()));
  }

  static constexpr unsigned int StreamBufferSize = 0x10000;

  const ArchiveIndex& index;
  const std::size_t maxTasks;
  EntrySink* sink = nullptr;
  std::deque<Task, Vx::Allocator<Task>> tasks;
  std::vector<Task*, Vx::Allocator<Task*>> free;
  // Where short entries gather, and the size of their data.
  Task* open = nullptr;
  unsigned int openSize = 0;
  // Of the entry whose blocks are being delivered.
  unsigned __int64 delivered = 0;
  unsigned int crc = 0;
  unsigned int adler = 1;
  bool streamed = false;
  Vx::ByteArray buffer;
  // Last, since its threads work on the tasks.
  OrderedTasks<Task, Decoder> decoders;
};

ParallelReader::ParallelReader(const ArchiveIndex& index, unsigned int jobs)
    : pipeline(Vx::New<Pipeline>(index, CheckedJobs(jobs))) {}

ParallelReader::~ParallelReader() = default;

void ParallelReader::Read(EntrySink& sink) {
  pipeline->Begin(sink);
  for (std::size_t number = 0; number < pipeline->GetEntryCount(); ++number) pipeline->Add(number);
  pipeline->Finish();
}

void ParallelReader::Read(EntrySink& sink, std::span<const std::size_t> numbers) {
  pipeline->Begin(sink);
  for (const std::size_t number : numbers) pipeline->Add(number);
  pipeline->Finish();
}

}  // namespace Larkspan::Archive

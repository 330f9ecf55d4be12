#include "Larkspan/Archive/ParallelReader.h"

#include <algorithm>
#include <deque>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "Larkspan/Archive/BlockReader.h"
#include "Larkspan/Archive/EntryStream.h"
#include "Larkspan/Archive/EntryWalk.h"
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
  EntryPlace place;
  EntryWalk::EntryRef entry;  // empty if the index has to be asked
  std::string_view text;      // what the entry's header has to be, if it is known
  unsigned int plainOffset;
  bool isGood;
  BlockReader::Block block;

  // From where on the bytes of a short entry are read.
  [[nodiscard]] unsigned __int64 GetBegin() const noexcept {
    return text.empty() ? place.data : place.header;
  }
};

struct Task {
  Task() : plain(Vx::NewByteArray(BlockSize)) { pieces.reserve(MaxPieces); }

  enum class Kind { Stream, Entries, Block };

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
    const unsigned __int64 begin = task.pieces.front().GetBegin();
    const auto size = static_cast<unsigned int>(task.pieces.back().place.end - begin);
    if (task.input->ReadAt(begin, task.encoded.get(), size) != size) return;
    for (Piece& piece : task.pieces) {
      const std::string_view bytes(task.encoded.get() + (piece.GetBegin() - begin),
                                   piece.place.end - piece.GetBegin());
      piece.isGood = reader.DecodeWhole(piece.place, piece.text, bytes,
                                        task.plain.get() + piece.plainOffset, piece.block);
    }
  }

  void DecodeBlock(Task& task) {
    Piece& piece = task.pieces.front();
    piece.isGood = reader.Decode(*task.input, piece.place, *task.frames, task.block,
                                 task.plain.get(), piece.block);
  }

  BlockReader reader;
};

}  // namespace

EntrySink::~EntrySink() = default;

class ParallelReader::Pipeline final {
 public:
  explicit Pipeline(unsigned int jobs)
      : maxTasks(jobs < 2 ? 1 : 2 * std::size_t{jobs} + 2), decoders(jobs) {}

  Common::IO::ArchiveEnd Read(const RandomInput& archive, EntrySink& entrySink) {
    Begin(archive, entrySink);
    EntryWalk walk(archive);
    for (std::size_t number = 0; GoOn(walk); ++number) {
      FindEnd(walk, number);
      Add({number, walk.GetPlace(), walk.GetEntry(), {}, 0, false, {}});
    }
    Finish();
    return walk.GetArchive().GetEnd();
  }

  void Read(const ArchiveIndex& archiveIndex, EntrySink& entrySink,
            std::span<const std::size_t> numbers) {
    Begin(archiveIndex.input, entrySink);
    index = &archiveIndex;
    for (const std::size_t number : numbers) {
      const ArchiveIndex::Place& place = index->GetPlace(number);
      Add({number, place, {}, index->GetText(place), 0, false, {}});
    }
    Finish();
  }

 private:
  void Begin(const RandomInput& archive, EntrySink& entrySink) noexcept {
    input = &archive;
    sink = &entrySink;
  }

  // What was found before a failure is delivered before it.
  bool GoOn(EntryWalk& walk) {
    try {
      return walk.Next(nullptr);
    } catch (...) {
      Finish();
      throw;
    }
  }

  void FindEnd(EntryWalk& walk, std::size_t number) {
    try {
      walk.FindEnd();
    } catch (...) {
      Finish();
      // As far as it goes; no size is known.
      EntryPlace place = walk.GetPlace();
      place.size = ~0ULL;
      sink->Begin(number, *walk.GetEntry());
      Stream({number, place, walk.GetEntry(), {}, 0, false, {}}, 0);
      throw;
    }
  }

  void Add(const Piece& piece) {
    if (piece.place.size <= BlockSize && piece.place.end - piece.GetBegin() <= MaxEncodedSize) {
      AddShort(piece);
    } else {
      AddLong(piece);
    }
  }

  void Finish() {
    Hand();
    while (!decoders.IsEmpty()) Deliver(decoders.Take());
  }

  void AddShort(const Piece& piece) {
    if (open != nullptr && !FitsIntoOpen(piece.place)) Hand();
    if (open == nullptr) {
      open = &GetFree(Task::Kind::Entries);
      openSize = 0;
    }
    open->pieces.push_back(piece);
    open->pieces.back().plainOffset = openSize;
    openSize += static_cast<unsigned int>(piece.place.size);
  }

  [[nodiscard]] bool FitsIntoOpen(const EntryPlace& place) const noexcept {
    return place.header == open->pieces.back().place.end && open->pieces.size() < MaxPieces &&
           place.size <= BatchSize && openSize <= BatchSize - place.size &&
           place.end - open->pieces.front().GetBegin() <= BatchSize;
  }

  void AddLong(const Piece& piece) {
    Hand();
    const auto frames =
        std::make_shared<const BlockReader::Frames>(BlockReader::FindBlocks(*input, piece.place));
    if (frames->empty()) {
      Task& task = GetFree(Task::Kind::Stream);
      task.pieces.push_back(piece);
      decoders.Put(task);
    }
    for (std::size_t block = 0; block < frames->size(); ++block) {
      Task& task = GetFree(Task::Kind::Block);
      task.pieces.push_back(piece);
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
    task.input = input;
    return task;
  }

  void Deliver(Task& task) {
    for (const Piece& piece : task.pieces) {
      if (task.kind == Task::Kind::Block) {
        DeliverBlock(task, piece);
        continue;
      }
      BeginEntry(piece);
      if (piece.isGood) {
        Write(piece.block.plain);
        sink->End(piece.number, nullptr);
      } else {
        Stream(piece, 0);
      }
    }
    task.pieces.clear();
    task.frames.reset();
    free.push_back(&task);
  }

  void BeginEntry(const Piece& piece) {
    const auto entry = piece.entry ? piece.entry : index->GetEntry(piece.number);
    sink->Begin(piece.number, *entry);
  }

  void DeliverBlock(const Task& task, const Piece& piece) {
    if (task.block == 0) {
      BeginEntry(piece);
      delivered = 0;
      crc = 0;
      adler = 1;
      streamed = false;
    }
    if (streamed) return;
    if (!piece.isGood) {
      streamed = true;
      Stream(piece, delivered);
      return;
    }
    const auto size = static_cast<unsigned int>(piece.block.plain.size());
    Write(piece.block.plain);
    delivered += size;
    crc = Common::IO::Codec::JoinCRC32(crc, piece.block.crc, size);
    adler = Common::IO::Codec::JoinAdler32(adler, piece.block.adler, size);
    if (task.block + 1 < task.frames->size()) return;
    if (crc == piece.place.crc && adler == BlockReader::ReadSum(*input, task.frames->back())) {
      sink->End(piece.number, nullptr);
    } else {
      Stream(piece, delivered);
    }
  }

  // Reads the entry as a stream, and delivers what comes behind `known` bytes of data. Failures of
  // the sink pass through.
  void Stream(const Piece& piece, unsigned __int64 known) {
    if (!buffer) buffer = Vx::NewByteArray(StreamBufferSize);
    std::optional<EntryStream> stream;
    for (unsigned int count = 1; count != 0;) {
      try {
        if (!stream) stream.emplace(*input, piece.place, piece.text);
        count = stream->Read(buffer.get(), StreamBufferSize, Vx::IBinaryChannel::ReadSome);
      } catch (...) {
        sink->End(piece.number, std::current_exception());
        return;
      }
      const auto skipped = static_cast<unsigned int>(std::min<unsigned __int64>(known, count));
      Write({buffer.get() + skipped, count - skipped});
      known -= skipped;
    }
    sink->End(piece.number, nullptr);
  }

  void Write(std::string_view data) {
    if (!data.empty()) sink->Write(data.data(), static_cast<unsigned int>(data.size()));
  }

  static constexpr unsigned int StreamBufferSize = 0x10000;

  const std::size_t maxTasks;
  // Of the reading at work.
  const RandomInput* input = nullptr;
  const ArchiveIndex* index = nullptr;
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

ParallelReader::ParallelReader(unsigned int jobs)
    : pipeline(Vx::New<Pipeline>(CheckedJobs(jobs))) {}

ParallelReader::~ParallelReader() = default;

Common::IO::ArchiveEnd ParallelReader::Read(const RandomInput& archive, EntrySink& sink) {
  return pipeline->Read(archive, sink);
}

void ParallelReader::Read(const ArchiveIndex& index, EntrySink& sink) {
  std::vector<std::size_t, Vx::Allocator<std::size_t>> numbers(index.GetEntryCount());
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  pipeline->Read(index, sink, numbers);
}

void ParallelReader::Read(const ArchiveIndex& index, EntrySink& sink,
                          std::span<const std::size_t> numbers) {
  pipeline->Read(index, sink, numbers);
}

}  // namespace Larkspan::Archive

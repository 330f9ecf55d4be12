#include "Larkspan/Archive/ParallelReader.h"

#include <algorithm>
#include <deque>
#include <exception>
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

class ParallelReader::Pipeline final {
 public:
  Pipeline(const RandomInput& archive, unsigned int jobs, Choose&& chooseEntry)
      : input(archive),
        choose(std::move(chooseEntry)),
        maxTasks(GetTaskCount(jobs)),
        decoders(jobs) {
    walk.emplace(archive);
  }
  Pipeline(const ArchiveIndex& archiveIndex, unsigned int jobs, std::span<const std::size_t> wanted)
      : input(archiveIndex.input),
        index(&archiveIndex),
        numbers(wanted.begin(), wanted.end()),
        maxTasks(GetTaskCount(jobs)),
        decoders(jobs) {}

  EntryRef Next() {
    inEntry = false;
    stream.reset();
    if (current != nullptr) ++position;
    while (TakeTask()) {
      // The blocks that are left of an entry are passed over.
      if (position == 0 && current->block == 0) return BeginEntry();
      if (position > 0 && position < current->pieces.size()) return BeginEntry();
      Release();
    }
    if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
    return {};
  }

  std::string_view ReadChunk() {
    if (!inEntry) return {};
    if (!stream) {
      if (const std::string_view chunk = TakeDecoded(); !chunk.empty()) return chunk;
      if (!inEntry) return {};
    }
    return ReadStream();
  }

  [[nodiscard]] Common::IO::ArchiveEnd GetEnd() const {
    return walk ? walk->GetArchive().GetEnd() : index->GetEnd();
  }

 private:
  static std::size_t GetTaskCount(unsigned int jobs) noexcept {
    return jobs < 2 ? 2 : 2 * std::size_t{jobs} + 2;
  }

  // --- Planning: what goes to the threads.

  // Puts tasks in as long as there is room for them.
  void Plan() {
    while (!planned && (!free.empty() || tasks.size() < maxTasks)) PlanNext();
  }

  void PlanNext() {
    if (frames) {
      PlanBlock();
      return;
    }
    std::optional<Piece> piece = FindNext();
    if (!piece) {
      planned = true;
      Hand();
    } else if (piece->place.size <= BlockSize &&
               piece->place.end - piece->GetBegin() <= MaxEncodedSize) {
      PlanShort(*piece);
    } else {
      PlanLong(*piece);
    }
  }

  // The next entry; none if there is no other. A failure waits until all before it has been read.
  std::optional<Piece> FindNext() {
    if (index != nullptr) {
      if (found == numbers.size()) return std::nullopt;
      const std::size_t number = numbers[found++];
      const ArchiveIndex::Place& place = index->GetPlace(number);
      return Piece{number, place, {}, index->GetText(place), 0, false, {}};
    }
    Choice choice = Choice::Take;
    try {
      do {
        if (failure || choice == Choice::Stop || !walk->Next(nullptr)) return std::nullopt;
        if (choose) choice = choose(*walk->GetEntry());
        if (choice == Choice::Pass) walk->FindEnd();
      } while (choice != Choice::Take);
    } catch (...) {
      failure = std::current_exception();
      return std::nullopt;
    }
    EntryPlace place = walk->GetPlace();
    try {
      walk->FindEnd();
      place = walk->GetPlace();
    } catch (...) {
      failure = std::current_exception();
      // The entry is read as far as it goes: nobody knows how far that is.
      place.size = ~0ULL;
    }
    return Piece{found++, place, walk->GetEntry(), {}, 0, false, {}};
  }

  void PlanShort(const Piece& piece) {
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

  void PlanLong(const Piece& piece) {
    Hand();
    if (piece.place.end != 0) {
      frames =
          std::make_shared<const BlockReader::Frames>(BlockReader::FindBlocks(input, piece.place));
      if (frames->empty()) frames.reset();
    }
    if (frames) {
      blocks.emplace(piece);
      nextBlock = 0;
      PlanBlock();
      return;
    }
    Task& task = GetFree(Task::Kind::Stream);
    task.pieces.push_back(piece);
    decoders.Put(task);
  }

  void PlanBlock() {
    Task& task = GetFree(Task::Kind::Block);
    task.pieces.push_back(*blocks);
    task.frames = frames;
    task.block = nextBlock++;
    if (nextBlock == frames->size()) frames.reset();
    decoders.Put(task);
  }

  // The open task goes to a thread.
  void Hand() {
    if (open != nullptr) decoders.Put(*std::exchange(open, nullptr));
  }

  Task& GetFree(Task::Kind kind) {
    if (free.empty()) free.push_back(&tasks.emplace_back());
    Task& task = *free.back();
    free.pop_back();
    task.input = &input;
    task.kind = kind;
    return task;
  }

  // --- Reading: what comes back from them.

  // Sees to it that there is a current task, and puts in others to be done meanwhile. False if
  // there are no more.
  bool TakeTask() {
    if (current != nullptr) return true;
    Plan();
    if (decoders.IsEmpty()) Hand();
    if (decoders.IsEmpty()) return false;
    current = &decoders.Take();
    position = 0;
    return true;
  }

  void Release() {
    current->pieces.clear();
    current->frames.reset();
    current->block = 0;
    free.push_back(std::exchange(current, nullptr));
  }

  EntryRef BeginEntry() {
    const Piece& piece = current->pieces[position];
    inEntry = true;
    delivered = 0;
    crc = 0;
    adler = 1;
    return piece.entry ? piece.entry : index->GetEntry(piece.number);
  }

  // Data that a thread has decoded. Empty at the end of the entry, and where it has to be read as a
  // stream.
  std::string_view TakeDecoded() {
    if (current->kind == Task::Kind::Block && delivered != 0) {
      if (current->block + 1 == current->frames->size()) return EndBlocks();
      Release();
      TakeTask();
    } else if (delivered != 0 || (current->pieces[position].isGood &&
                                  current->pieces[position].block.plain.empty())) {
      inEntry = false;
      return {};
    }
    const Piece& piece = current->pieces[position];
    if (!piece.isGood) {
      BeginStream();
      return {};
    }
    const auto size = static_cast<unsigned int>(piece.block.plain.size());
    delivered += size;
    crc = Common::IO::Codec::JoinCRC32(crc, piece.block.crc, size);
    adler = Common::IO::Codec::JoinAdler32(adler, piece.block.adler, size);
    return piece.block.plain;
  }

  std::string_view EndBlocks() {
    if (crc == current->pieces.front().place.crc &&
        adler == BlockReader::ReadSum(input, current->frames->back())) {
      inEntry = false;
    } else {
      BeginStream();
    }
    return {};
  }

  // What threads have delivered already is passed over.
  void BeginStream() {
    if (!buffer) buffer = Vx::NewByteArray(StreamBufferSize);
    stream.emplace(input, current->pieces[position].place, current->pieces[position].text);
  }

  std::string_view ReadStream() {
    for (;;) {
      const unsigned int count =
          stream->Read(buffer.get(), StreamBufferSize, Vx::IBinaryChannel::ReadSome);
      if (count == 0) {
        inEntry = false;
        return {};
      }
      const auto skipped = static_cast<unsigned int>(std::min<unsigned __int64>(delivered, count));
      delivered -= skipped;
      if (skipped < count) return {buffer.get() + skipped, count - skipped};
    }
  }

  static constexpr unsigned int StreamBufferSize = 0x40000;

  const RandomInput& input;
  // What is read: all that a walk meets, or these numbers of an index.
  std::optional<EntryWalk> walk;
  const Choose choose;
  const ArchiveIndex* index = nullptr;
  std::vector<std::size_t, Vx::Allocator<std::size_t>> numbers;
  std::size_t found = 0;
  std::exception_ptr failure;
  bool planned = false;

  const std::size_t maxTasks;
  std::deque<Task, Vx::Allocator<Task>> tasks;
  std::vector<Task*, Vx::Allocator<Task*>> free;
  // Where short entries gather, and the size of their data.
  Task* open = nullptr;
  unsigned int openSize = 0;
  // The entry whose blocks are put in one by one.
  std::shared_ptr<const BlockReader::Frames> frames;
  std::optional<Piece> blocks;
  std::size_t nextBlock = 0;

  // The task and the piece of it that are being read, and what is known of the entry so far.
  Task* current = nullptr;
  std::size_t position = 0;
  bool inEntry = false;
  unsigned __int64 delivered = 0;
  unsigned int crc = 0;
  unsigned int adler = 1;
  std::optional<EntryStream> stream;
  Vx::ByteArray buffer;

  // Last, since its threads work on the tasks.
  OrderedTasks<Task, Decoder> decoders;
};

ParallelReader::ParallelReader(const RandomInput& archive, unsigned int jobs, Choose choose)
    : pipeline(Vx::New<Pipeline>(archive, CheckedJobs(jobs), std::move(choose))) {}

ParallelReader::ParallelReader(const ArchiveIndex& index, unsigned int jobs,
                               std::span<const std::size_t> numbers)
    : pipeline(Vx::New<Pipeline>(index, CheckedJobs(jobs), numbers)) {}

ParallelReader::~ParallelReader() = default;

ParallelReader::EntryRef ParallelReader::Next() {
  return pipeline->Next();
}

std::string_view ParallelReader::ReadChunk() {
  return pipeline->ReadChunk();
}

Common::IO::ArchiveEnd ParallelReader::GetEnd() const {
  return pipeline->GetEnd();
}

}  // namespace Larkspan::Archive

#include "Larkspan/Archive/EntryReader.h"

#include <memory>

#include "Larkspan/Archive/EntryWalk.h"
#include "Larkspan/Archive/InputWindow.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Archive {
namespace {

// Reads as large as this are inflated without another copy.
constexpr unsigned int ChunkSize = 0x40000;

}  // namespace

EntrySource::~EntrySource() = default;

EntryReader::EntryReader(Vx::IBinaryChannel& stream) : file(nullptr), jobs(0) {
  channel.emplace(stream);
}

EntryReader::EntryReader(const RandomInput& input, unsigned int jobCount)
    : window(std::make_unique<InputWindow>(input, 0, ChunkSize)), file(&input), jobs(jobCount) {
  channel.emplace(*window);
}

EntryReader::EntryReader(Vx::IBinaryChannel& stream, const RandomInput& input,
                         unsigned int jobCount)
    : file(&input), jobs(jobCount) {
  channel.emplace(stream);
}

EntryReader::~EntryReader() = default;

bool EntryReader::LookAhead(const Look& look) {
  if (file == nullptr) return false;
  std::optional<EntryWalk> walk;
  while (true) {
    try {
      if (walk) {
        walk->FindEnd();
      } else {
        walk.emplace(*file);
      }
      if (!walk->Next(nullptr)) return true;
    } catch (const Vx::OutOfMemoryException&) {
      throw;
    } catch (const VxException&) {
      return true;  // who reads on meets the damage again
    }
    look(walk->GetEntry()->GetName());
  }
}

EntryReader::EntryRef EntryReader::Next() {
  while (open && !ReadChunk().empty()) {
  }
  EntryRef entry = FindNext();
  open = !entry.IsEmpty();
  return entry;
}

EntryReader::EntryRef EntryReader::FindNext() {
  if (KnowsSizes()) {
    if (!parallel) parallel.emplace(*file, jobs, chooseEntry);
    return parallel->Next();
  }
  for (EntryRef entry = channel->GetNextEntry(); entry; entry = channel->GetNextEntry()) {
    const Choice choice = chooseEntry ? chooseEntry(*entry) : Choice::Take;
    if (choice == Choice::Take) return entry;
    if (choice == Choice::Stop) break;
    channel->LeaveEntry();
  }
  return {};
}

std::string_view EntryReader::ReadChunk() {
  if (!open) return {};
  std::string_view chunk;
  if (parallel) {
    chunk = parallel->ReadChunk();
  } else {
    if (!buffer) buffer = Vx::NewByteArray(ChunkSize);
    chunk = {buffer.get(), channel->Read(buffer.get(), ChunkSize, Vx::IBinaryChannel::ReadAll)};
    if (chunk.empty()) channel->CloseEntry();
  }
  open = !chunk.empty();
  return chunk;
}

void EntryReader::Leave() {
  if (open && !parallel) channel->LeaveEntry();
  open = false;
}

bool EntryReader::CopyEntry(const Vx::UniString& name, const Take& take) {
  if (file == nullptr) return false;
  if (!index) index.emplace(*file);
  const std::optional<std::size_t> number = index->Find(name);
  if (!number) return false;
  const Vx::IBinaryChannelRef content = index->OpenEntry(*number);
  const Vx::ByteArray piece = Vx::NewByteArray(ChunkSize);
  while (true) {
    const unsigned int size = content->Read(piece.get(), ChunkSize, Vx::IBinaryChannel::ReadSome);
    if (size == 0) return true;
    take({piece.get(), size});
  }
}

}  // namespace Larkspan::Archive

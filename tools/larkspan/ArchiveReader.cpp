#include "tools/larkspan/ArchiveReader.h"

#include <utility>

#include "tools/larkspan/ArchiveEndReport.h"
#include "tools/larkspan/FileKind.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

// Reads as large as this are inflated without another copy.
constexpr unsigned int ChunkSize = 0x40000;

}  // namespace

void CheckHeaderSize(const std::string& subject, unsigned __int64 size, unsigned int reserved,
                     Console& console) {
  if (size >= reserved) return;
  console.Warn(subject, "the archive ends inside its header and may be truncated");
}

template <class Work>
auto ArchiveReader::Guard(Work&& work) {
  return PresentFailures(std::forward<Work>(work), [this](const VxException& exception) {
    return LibraryFailure(ExitCode::BadArchive, GetSubject(), "bad archive, " + DescribePosition(),
                          exception);
  });
}

// Where the damage is.
std::string ArchiveReader::DescribePosition() const {
  return current ? "entry " + ToPrintable(current->GetName().GetView()) : "at its head";
}

// The framing is broken: nothing tells where another entry could begin.
Failure ArchiveReader::FailToGoOn(const std::string& last, const VxException& reason) const {
  const std::string after = last.empty() ? last : " after " + last;
  return LibraryFailure(ExitCode::BadArchive, GetSubject(),
                        "bad archive, no entry" + after + " can be read", reason);
}

void ArchiveReader::EndEntry() {
  previous = ToPrintable(current->GetName().GetView());
  current.Reset();
}

ArchiveReader::ArchiveReader(const std::string& argument, Console& messages, unsigned int jobCount,
                             Choose choose)
    : console(messages),
      source(argument),
      channel(source),
      jobs(jobCount),
      chooseEntry(std::move(choose)),
      buffer(Vx::NewByteArray(ChunkSize)) {
  const unsigned int reserved = ReadHeader();
  CheckHeaderSize(GetSubject(), source.GetPosition(), reserved, console);
  ReportHeaderCheck(GetSubject(), channel.GetEnd(), console);
}

// Damage at the head is often another kind of file.
unsigned int ArchiveReader::ReadHeader() {
  constexpr std::size_t headerOfOthers = 512;
  const std::string beginning(source.Peek().substr(0, headerOfOthers));
  return PresentFailures([this] { return channel.GetReservedHeaderSize(); },
                         [&](const VxException& reason) {
                           const std::string_view kind = FindFileKind(beginning);
                           if (kind.empty()) {
                             return LibraryFailure(ExitCode::BadArchive, GetSubject(),
                                                   "bad archive, " + DescribePosition(), reason);
                           }
                           return Failure(ExitCode::BadArchive, GetSubject(),
                                          "is " + std::string(kind) + ", not a Larkspan archive");
                         });
}

void ArchiveReader::LookAhead(const std::function<void(const Vx::UniString&)>& look) {
  if (!source.CanSkip()) return;
  const unsigned __int64 here = source.GetPosition();
  source.MoveTo(0);
  try {
    Archive::ArchiveIBinaryChannel entries(source);
    for (EntryRef entry = entries.GetNextEntry(); entry; entry = entries.GetNextEntry()) {
      look(entry->GetName());
      entries.LeaveEntry();
    }
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException&) {
    // The reading that follows meets the damage again, and tells it.
  }
  source.MoveTo(here);
}

ArchiveReader::EntryRef ArchiveReader::Next() {
  Verify();
  CheckInterruption();
  EntryRef entry =
      PresentFailures([this] { return FindNext(); },
                      [this](const VxException& reason) { return FailToGoOn(previous, reason); });
  current = entry;
  if (current) {
    // From a pipe, or without a look ahead, nothing is known of an entry's size.
    const bool known = parallel.has_value();
    console.GetProgress().BeginItem(current->GetName().GetView(),
                                    known ? current->GetArchivedSize() : 0,
                                    known ? current->GetSize() : 0);
  } else {
    ReportEnd(GetSubject(), GetEnd(), console);
  }
  return entry;
}

ArchiveReader::EntryRef ArchiveReader::FindNext() {
  if (!parallel && jobs != 0 && source.IsWholeFile()) {
    parallel.emplace(source, jobs, chooseEntry);
    console.GetProgress().BeginAll(chooseEntry ? 0 : source.GetSize());
  }
  if (parallel) return parallel->Next();
  for (EntryRef entry = channel.GetNextEntry(); entry; entry = channel.GetNextEntry()) {
    const Choice choice = chooseEntry ? chooseEntry(*entry) : Choice::Take;
    if (choice == Choice::Take) return entry;
    if (choice == Choice::Stop) break;
    channel.LeaveEntry();
  }
  return {};
}

std::string_view ArchiveReader::ReadChunk() {
  CheckInterruption();  // a little input can make a lot of data
  const std::string_view chunk = Guard([this]() -> std::string_view {
    if (parallel) return parallel->ReadChunk();
    return {buffer.get(), channel.Read(buffer.get(), ChunkSize, Vx::IBinaryChannel::ReadAll)};
  });
  console.GetProgress().Advance(static_cast<unsigned int>(chunk.size()));
  return chunk;
}

void ArchiveReader::Verify() {
  if (!current) return;
  while (!ReadChunk().empty()) {
  }
  if (!parallel) Guard([this] { channel.CloseEntry(); });
  EndEntry();
}

void ArchiveReader::Leave() {
  if (!current) return;
  if (parallel) return EndEntry();
  PresentFailures([this] { channel.LeaveEntry(); },
                  [this](const VxException& reason) {
                    return FailToGoOn(ToPrintable(current->GetName().GetView()), reason);
                  });
  EndEntry();
}

Vx::IBinaryChannelRef ArchiveReader::OpenEntry(const Vx::UniString& name) {
  if (!source.IsWholeFile()) return Vx::IBinaryChannelRef();
  return Guard([&] {
    if (!index) index.emplace(source);
    const std::optional<std::size_t> number = index->Find(name);
    return number ? index->OpenEntry(*number) : Vx::IBinaryChannelRef();
  });
}

unsigned int ArchiveReader::ReadFrom(Vx::IBinaryChannel& entry, char* target, unsigned int size) {
  return Guard([&] { return entry.Read(target, size, Vx::IBinaryChannel::ReadSome); });
}

}  // namespace Tool

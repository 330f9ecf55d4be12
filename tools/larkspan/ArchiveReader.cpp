#include "tools/larkspan/ArchiveReader.h"

#include <utility>

#include "tools/larkspan/ArchiveEndReport.h"
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
  if (current) return "entry " + ToPrintable(current->GetName().GetView());
  return previous.empty() ? "at its head" : "after entry " + previous;
}

void ArchiveReader::EndEntry() {
  previous = ToPrintable(current->GetName().GetView());
  current.Reset();
}

ArchiveReader::ArchiveReader(const std::string& argument, Console& messages)
    : console(messages), source(argument), channel(source), buffer(Vx::NewByteArray(ChunkSize)) {
  const unsigned int reserved = Guard([this] { return channel.GetReservedHeaderSize(); });
  CheckHeaderSize(GetSubject(), source.GetPosition(), reserved, console);
  ReportHeaderCheck(GetSubject(), channel.GetEnd(), console);
}

ArchiveReader::EntryRef ArchiveReader::Next() {
  Verify();
  EntryRef entry = Guard([this] { return channel.GetNextEntry(); });
  current = entry;
  if (current) {
    console.GetProgress().AdvanceItem();
  } else {
    ReportEnd(GetSubject(), channel.GetEnd(), console);
  }
  return entry;
}

std::string_view ArchiveReader::ReadChunk() {
  CheckInterruption();  // a little input can make a lot of data
  const unsigned int size =
      Guard([this] { return channel.Read(buffer.get(), ChunkSize, Vx::IBinaryChannel::ReadAll); });
  console.GetProgress().Advance(size);
  return std::string_view(buffer.get(), size);
}

void ArchiveReader::Verify() {
  if (!current) return;
  while (!ReadChunk().empty()) {
  }
  Guard([this] { channel.CloseEntry(); });
  EndEntry();
}

void ArchiveReader::Leave() {
  if (!current) return;
  PresentFailures([this] { channel.LeaveEntry(); },
                  [this](const VxException& exception) {
                    return LibraryFailure(ExitCode::BadArchive, GetSubject(),
                                          "bad archive, no entry after " +
                                              ToPrintable(current->GetName().GetView()) +
                                              " can be found",
                                          exception);
                  });
  EndEntry();
}

}  // namespace Tool

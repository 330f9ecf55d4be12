#include "tools/larkspan/ArchiveReader.h"

#include <utility>

#include "tools/larkspan/ArchiveEndReport.h"
#include "tools/larkspan/FileKind.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Larkspan::Archive::EntryReader;

// An archive on the standard input is read to its end and no further ahead, as a pipe is.
EntryReader MakeReader(ArchiveSource& source, unsigned int jobs) {
  if (!source.IsFile()) return EntryReader(source);
  return {source, source, source.IsNamed() ? jobs : 0};
}

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
      reader(MakeReader(source, jobCount)),
      isChosen(choose != nullptr) {
  if (isChosen) reader.SetChoice(std::move(choose));
  const unsigned int reserved = ReadHeader();
  CheckHeaderSize(GetSubject(), source.GetPosition(), reserved, console);
  ReportHeaderCheck(GetSubject(), GetArchive().GetEnd(), console);
}

void ArchiveReader::SetChoice(Choose choose) {
  isChosen = choose != nullptr;
  reader.SetChoice(std::move(choose));
}

// Damage at the head is often another kind of file.
unsigned int ArchiveReader::ReadHeader() {
  constexpr std::size_t headerOfOthers = 512;
  const std::string beginning(source.Peek().substr(0, headerOfOthers));
  return PresentFailures([this] { return GetArchive().GetReservedHeaderSize(); },
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

ArchiveReader::EntryRef ArchiveReader::Next() {
  Verify();
  CheckInterruption();
  if (!hasBegun && IsAhead()) console.GetProgress().BeginAll(isChosen ? 0 : source.GetSize());
  hasBegun = true;
  current =
      PresentFailures([this] { return reader.Next(); },
                      [this](const VxException& reason) { return FailToGoOn(previous, reason); });
  if (current) {
    // From a pipe, or without a look ahead, nothing is known of an entry's size.
    console.GetProgress().BeginItem(current->GetName().GetView(),
                                    IsAhead() ? current->GetArchivedSize() : 0,
                                    IsAhead() ? current->GetSize() : 0);
  } else {
    ReportEnd(GetSubject(), GetEnd(), console);
  }
  return current;
}

std::string_view ArchiveReader::ReadChunk() {
  CheckInterruption();  // a little input can make a lot of data
  const std::string_view chunk = Guard([this] { return reader.ReadChunk(); });
  console.GetProgress().Advance(static_cast<unsigned int>(chunk.size()));
  return chunk;
}

void ArchiveReader::Verify() {
  if (!current) return;
  while (!ReadChunk().empty()) {
  }
  EndEntry();
}

void ArchiveReader::Leave() {
  if (!current) return;
  PresentFailures([this] { reader.Leave(); },
                  [this](const VxException& reason) {
                    return FailToGoOn(ToPrintable(current->GetName().GetView()), reason);
                  });
  EndEntry();
}

bool ArchiveReader::CopyEntry(const Vx::UniString& name, const Take& take) {
  return Guard([&] { return reader.CopyEntry(name, take); });
}

}  // namespace Tool

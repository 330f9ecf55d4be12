#include "tools/larkspan/ArchiveEndReport.h"

#include <algorithm>

namespace Tool {
namespace {

using Larkspan::Common::IO::ArchiveEnd;

struct Row {
  ArchiveEnd::State state;
  const char* seal;
  const char* complaint = nullptr;  // none for what is as it should be
};

// An end inside the header is told when that is read.
constexpr Row Rows[] = {
    {ArchiveEnd::State::Unknown, "seal unknown"},
    {ArchiveEnd::State::EndsAtFooter, "not sealed"},
    {ArchiveEnd::State::EndsInHeader, "not sealed"},
    {ArchiveEnd::State::SealedRight, "sealed"},
    {ArchiveEnd::State::SealedWrong, "seal wrong",
     "its seal does not fit: entries are damaged, or were removed, added or moved"},
    {ArchiveEnd::State::PromisedButMissing, "seal missing",
     "the seal that its header promises is missing: the archive is truncated"},
    {ArchiveEnd::State::SealWithoutPromise, "seal not promised",
     "its header does not promise the seal that it has: the header was replaced"},
    {ArchiveEnd::State::TrailingBytes, "not sealed",
     "the archive ends inside the name of an entry: it is truncated there, or something was "
     "appended"},
};

const Row& FindRow(const ArchiveEnd& end) noexcept {
  return *std::ranges::find(Rows, end.state, &Row::state);
}

void ReportDamage(const std::string& subject, const char* text, Console& console) {
  console.Report(Failure(ExitCode::BadArchive, subject, std::string("bad archive: ") + text));
}

}  // namespace

void ReportHeaderCheck(const std::string& subject, const ArchiveEnd& end, Console& console) {
  if (end.headerCheck != ArchiveEnd::HeaderCheck::Wrong) return;
  ReportDamage(subject,
               "its header is torn, or was changed by a program that does not know the seal",
               console);
}

void ReportEnd(const std::string& subject, const ArchiveEnd& end, Console& console) {
  const char* const text = FindRow(end).complaint;
  if (text == nullptr) return;
  if (end.state == ArchiveEnd::State::TrailingBytes) {
    console.Warn(subject, text);
  } else {
    ReportDamage(subject, text, console);
  }
}

const char* DescribeSeal(const ArchiveEnd& end) noexcept {
  return FindRow(end).seal;
}

void PutEnd(const ArchiveEnd& end, JsonObject& object) {
  object.Put("seal", DescribeSeal(end))
      .Put("headerAsWritten", end.headerCheck != ArchiveEnd::HeaderCheck::Wrong);
}

bool IsWhole(const ArchiveEnd& end) noexcept {
  return end.headerCheck != ArchiveEnd::HeaderCheck::Wrong &&
         (end.state == ArchiveEnd::State::EndsAtFooter ||
          end.state == ArchiveEnd::State::SealedRight);
}

}  // namespace Tool

#include "tools/larkspan/ArchiveEndReport.h"

namespace Tool {
namespace {

using Larkspan::Common::IO::ArchiveEnd;

// Nothing for what is as it should be, and for an end inside the header: that is told when the
// header is read.
const char* Describe(ArchiveEnd::State state) noexcept {
  switch (state) {
    case ArchiveEnd::State::SealedWrong:
      return "its seal does not fit: entries are damaged, or were removed, added or moved";
    case ArchiveEnd::State::PromisedButMissing:
      return "the seal that its header promises is missing: the archive is truncated";
    case ArchiveEnd::State::SealWithoutPromise:
      return "its header does not promise the seal that it has: the header was replaced";
    case ArchiveEnd::State::TrailingBytes:
      return "the archive ends inside the name of an entry: it is truncated there, or something "
             "was appended";
    case ArchiveEnd::State::Unknown:
    case ArchiveEnd::State::EndsAtFooter:
    case ArchiveEnd::State::SealedRight:
    case ArchiveEnd::State::EndsInHeader:
      break;
  }
  return nullptr;
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
  const char* const text = Describe(end.state);
  if (text == nullptr) return;
  if (end.state == ArchiveEnd::State::TrailingBytes) {
    console.Warn(subject, text);
  } else {
    ReportDamage(subject, text, console);
  }
}

}  // namespace Tool

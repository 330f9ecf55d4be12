#include "tools/larkspan/HeaderArguments.h"

#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

// Widths of the archive format; see docs/archive-format.md.
constexpr unsigned int FixedHeaderSize = 31;
constexpr unsigned int PairSize = 4;
constexpr unsigned int MaxTextSize = 0xFFFF;

unsigned int GetEncodedSize(const Vx::UniString& text) {
  return text.ToBytes(0, Vx::ToEnd, VxCharCodeUTF, OnConversionErrorFail).GetLength();
}

}  // namespace

void PutHeaderArgument(const std::string& argument, Larkspan::Common::IO::ArchiveHeaders& headers) {
  const std::size_t equals = argument.find('=');
  if (equals == 0 || equals == argument.npos) {
    throw Failure(ExitCode::WrongUsage, ToPrintable(argument), "a header is given as NAME=VALUE");
  }
  const Vx::UniString name = TextFromArgument(std::string_view(argument).substr(0, equals));
  const Vx::UniString value = TextFromArgument(std::string_view(argument).substr(equals + 1));
  if (name.GetView().starts_with(EntryFacts::FolderPrefix)) {
    throw Failure(ExitCode::WrongUsage, ToPrintable(argument.substr(0, equals)),
                  "headers of this name stand for empty folders");
  }
  CheckTextLength(name);
  CheckTextLength(value);
  headers.Put(name, value);
}

void CheckTextLength(const Vx::UniString& text) {
  // No unit takes more than three bytes.
  if (text.GetLength() <= MaxTextSize / 3 || GetEncodedSize(text) <= MaxTextSize) return;
  constexpr unsigned int shown = 40;
  throw Failure(ExitCode::WrongUsage, ToPrintable(text.GetView().substr(0, shown)) + "...",
                "longer than the 65535 bytes that a name or value can have");
}

unsigned __int64 GetHeaderSize(const Larkspan::Common::IO::ArchiveHeaders& headers) {
  unsigned __int64 size = FixedHeaderSize;
  for (const auto& [name, value] : headers.EnumeratePairs()) {
    size += PairSize + GetEncodedSize(name) + GetEncodedSize(value);
  }
  return size;
}

}  // namespace Tool

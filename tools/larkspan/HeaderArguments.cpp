#include "tools/larkspan/HeaderArguments.h"

#include "Larkspan/Archive/TreeFacts.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Text.h"

namespace Tool {

void PutHeaderArgument(const std::string& argument, Larkspan::Common::IO::ArchiveHeaders& headers) {
  const std::size_t equals = argument.find('=');
  if (equals == 0 || equals == argument.npos) {
    throw Failure(ExitCode::WrongUsage, ToPrintable(argument), "a header is given as NAME=VALUE");
  }
  const Vx::UniString name = TextFromArgument(std::string_view(argument).substr(0, equals));
  const Vx::UniString value = TextFromArgument(std::string_view(argument).substr(equals + 1));
  if (name.GetView().starts_with(Larkspan::Archive::TreeFacts::FolderPrefix)) {
    throw Failure(ExitCode::WrongUsage, ToPrintable(argument.substr(0, equals)),
                  "headers of this name stand for empty folders");
  }
  if (name == Larkspan::Common::IO::ArchiveSeal::HeaderName) {
    throw Failure(ExitCode::WrongUsage, "seal", "this header is the archive's own, and kept by it");
  }
  CheckTextLength(name);
  CheckTextLength(value);
  headers.Put(name, value);
}

void CheckTextLength(const Vx::UniString& text) {
  using Larkspan::Common::IO::MaxUTFSize;
  if (Larkspan::Common::IO::GetUTFSize(text) <= MaxUTFSize) return;
  constexpr unsigned int shown = 40;
  throw Failure(
      ExitCode::WrongUsage, ToPrintable(text.GetView().substr(0, shown)) + "...",
      "longer than the " + std::to_string(MaxUTFSize) + " bytes that a name or value can have");
}

}  // namespace Tool

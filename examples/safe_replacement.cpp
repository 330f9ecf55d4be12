// Replaces a file so that a failure, a kill or a power cut leaves the old one or the new one,
// whole: first as most hosts want it, then for code that has to open the file by its own name.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string_view>

#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/ReplaceFileTransaction.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "Larkspan/Interop/Paths.h"
#include "foundation/Vx/IOException.h"

using Larkspan::Common::IO::FileOBinaryChannel;
using Larkspan::Common::IO::FileShare;
using Larkspan::Common::IO::ReplaceFileTransaction;
using Larkspan::Common::IO::UpdateFileTransaction;

namespace {

// Others who read the file see the old one until `Commit`, and nothing has to be recovered.
void Replace(const IO::Location& file, std::string_view content) {
  ReplaceFileTransaction transaction(file);
  transaction.GetChannel().Write(content.data(), static_cast<unsigned int>(content.size()));
  transaction.Commit();
}

void ReplaceByName(const IO::Location& file, std::string_view content, bool fail) {
  UpdateFileTransaction transaction(file);  // an unfinished one aborts by itself
  FileOBinaryChannel channel(file, false, FileShare::NoShare);
  channel.Write(content.data(), static_cast<unsigned int>(content.size()));
  if (fail) throw Vx::IOException("Something went wrong halfway.", __FILE__, __LINE__);
  channel.Close();
  transaction.Commit();
}

}  // namespace

int main() {
  const auto folder = std::filesystem::temp_directory_path() / "larkspan-safe-replacement";
  std::filesystem::create_directories(folder);
  int result = 1;
  try {
    const IO::Location file = Larkspan::Interop::ToLocation(folder / "settings");
    Replace(file, "colour=red");

    // First of all: undo what a crash has left unfinished.
    if (UpdateFileTransaction::Recover(file)) std::puts("recovered the file before the crash");

    ReplaceByName(file, "colour=blue", false);
    try {
      ReplaceByName(file, "colour=", true);
    } catch (const Vx::IOException& failure) {
      std::printf("%s The old file is back.\n", failure.what());
    }
    result = Larkspan::Common::IO::GetFileSize(file) == 11 ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
  }
  std::filesystem::remove_all(folder);
  return result;
}

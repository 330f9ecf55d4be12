// Collects output of unknown size, in memory while it is small and in a file once it grows, and
// passes it on when it is complete.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <random>
#include <string>

#include "Larkspan/Common/IO/CRC32OBinaryChannel.h"
#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"
#include "Larkspan/Interop/Paths.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

using Larkspan::Common::IO::CRC32OBinaryChannel;
using Larkspan::Common::IO::DeferredFileOBinaryChannel;

namespace {

// Stands for a producer that does not know beforehand how much it has to say.
void WriteLines(Vx::OBinaryChannel& target, int count) {
  for (int i = 0; i < count; ++i) {
    const std::string line = "line " + std::to_string(i) + "\n";
    target.Write(line.data(), static_cast<unsigned int>(line.size()));
  }
}

// Removes the file, if there is one: the channel leaves it behind.
struct FileRemoval {
  ~FileRemoval() {
    // There may be one below the threshold too: a write that failed can have made it.
    IO::fileSystem.Delete(output.GetLocation(), IO::DataSafety::None,
                          IO::AccessDeniedTreatment::Report);
  }
  const DeferredFileOBinaryChannel& output;
};

// Gives whether what came out is what went in.
bool PassOn(const IO::Location& location, int count) {
  DeferredFileOBinaryChannel output(location, 4096);
  const FileRemoval removal{output};
  CRC32OBinaryChannel checked(output);
  WriteLines(checked, count);
  checked.Close();

  Vx::MemoryOBinaryChannel received;
  CRC32OBinaryChannel target(received);
  output.WriteTo(target);
  std::printf("%u bytes by way of %s\n", received.GetSize(),
              output.IsThresholdExceeded() ? "a file" : "memory");
  return target.GetCRC() == checked.GetCRC() && received.GetSize() == output.GetCount();
}

}  // namespace

int main() {
  try {
    const std::string name = "larkspan-" + std::to_string(std::random_device()()) + ".tmp";
    const std::filesystem::path path = std::filesystem::temp_directory_path() / name;
    const IO::Location location = Larkspan::Interop::ToLocation(path);
    const bool sound = PassOn(location, 10) && PassOn(location, 100000);
    return sound && !std::filesystem::exists(path) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

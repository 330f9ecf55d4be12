// Makes an archive in a file, asks it, takes an entry and all entries out, changes a header in
// place, and shows what a failure tells.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "Larkspan/Common/ExceptionReport.h"
#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/LocationUtils.h"
#include "Larkspan/Interop/Paths.h"

using namespace Larkspan::Common::IO;

namespace {

void WriteArchive(const IO::Location& location) {
  FileOBinaryChannel file(location, false, FileShare::NoShare);
  ArchiveOBinaryChannel archive(file, 4096);  // room for headers that come later
  archive.PutHeader(u"state", u"draft");
  // Any title makes a file name that is legal everywhere.
  archive.PutNextEntry(NormalizeName(u"What? A letter.txt", u'_'));
  archive.Write("Dear reader", 11);
  archive.CloseEntry();
  archive.Close();
}

bool UseArchive(const IO::Location& location, const std::filesystem::path& folder) {
  std::printf("%s\n", LocationToURL(location).ToUTF8().c_str());
  ArchiveFile archive(location);
  for (const auto& entry : archive.EnumerateEntries()) {
    std::printf("%s: %llu bytes\n", entry->GetName().ToUTF8().c_str(), entry->GetSize());
  }
  char text[64];
  const auto letter = archive.GetInputChannel(archive.GetEntry(u"What_ A letter.txt"));
  const unsigned int size = letter->Read(text, sizeof(text), Vx::IBinaryChannel::ReadAll);
  letter->Close();

  archive.ExtractTo(Larkspan::Interop::ToLocation(folder / "out"));
  archive.PutHeader(u"state", u"final");
  archive.Update();
  const bool isFinal = ArchiveFile(location).GetHeader(u"state") == u"final";
  return isFinal && std::string(text, size) == "Dear reader" &&
         std::filesystem::file_size(folder / "out" / "What_ A letter.txt") == 11;
}

// Whether damage is found, and told with what caused it.
bool MeetDamage(const IO::Location& location, const std::filesystem::path& path) {
  std::fstream(path, std::ios::in | std::ios::out).seekp(-1, std::ios::end).put('!');
  try {
    ArchiveFile(location).ExtractTo(Larkspan::Interop::ToLocation(path.parent_path() / "damaged"));
  } catch (const VxException& failure) {
    std::printf("%s\n", Larkspan::Common::ToString(failure).ToUTF8().c_str());
    return true;
  }
  return false;
}

}  // namespace

int main() {
  const auto folder = std::filesystem::temp_directory_path() / "larkspan-archive-on-disk";
  std::filesystem::create_directories(folder);
  bool sound = false;
  try {
    const auto path = folder / "letters.lsa";
    const IO::Location location = Larkspan::Interop::ToLocation(path);
    WriteArchive(location);
    sound = UseArchive(location, folder) && MeetDamage(location, path);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
  }
  std::filesystem::remove_all(folder);
  return sound ? 0 : 1;
}

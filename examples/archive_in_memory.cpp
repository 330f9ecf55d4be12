// Writes an archive with two entries and reads it back, verifying each.

#include <cstdio>
#include <exception>
#include <string>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

using Larkspan::Common::IO::ArchiveEntry;
using Larkspan::Common::IO::ArchiveIBinaryChannel;
using Larkspan::Common::IO::ArchiveOBinaryChannel;

namespace {

void WriteArchive(Vx::OBinaryChannel& target) {
  ArchiveOBinaryChannel archive(target, 4096);
  archive.PutHeader(u"title", u"Two poems");
  const std::string first = "Roses are red.";
  archive.PutNextEntry(u"poems/roses.txt");
  archive.Write(first.data(), static_cast<unsigned int>(first.size()));
  const std::string second = "Violets are blue.";
  archive.PutNextEntry(u"poems/violets.txt", ArchiveEntry::Stored);
  archive.Write(second.data(), static_cast<unsigned int>(second.size()));
  archive.CloseEntry();
  archive.Close();
}

void ReadArchive(Vx::IBinaryChannel& source) {
  ArchiveIBinaryChannel archive(source);
  for (const auto& [name, value] : archive.EnumerateHeaders()) {
    std::printf("%s = %s\n", name.ToUTF8().c_str(), value.ToUTF8().c_str());
  }
  while (const auto entry = archive.GetNextEntry()) {
    char text[64];
    const unsigned int size = archive.Read(text, sizeof(text), ArchiveIBinaryChannel::ReadAll);
    archive.CloseEntry();  // verifies the entry, or throws
    std::printf("%s: %.*s\n", entry->GetName().ToUTF8().c_str(), static_cast<int>(size), text);
  }
}

}  // namespace

int main() {
  try {
    Vx::MemoryOBinaryChannel written;
    WriteArchive(written);
    Vx::MemoryIBinaryChannel source(written.GetBuffer(), written.GetSize());
    ReadArchive(source);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

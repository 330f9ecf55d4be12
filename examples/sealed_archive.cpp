// Seals an archive, and tells the whole one from one that was cut exactly between two entries.

#include <cstdio>
#include <exception>
#include <string>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

using Larkspan::Common::IO::ArchiveEnd;
using Larkspan::Common::IO::ArchiveIBinaryChannel;
using Larkspan::Common::IO::ArchiveOBinaryChannel;

namespace {

// Gives the size of the archive when the first of the two entries was complete.
unsigned int WriteArchive(Vx::MemoryOBinaryChannel& target) {
  ArchiveOBinaryChannel archive(target, 4096);
  archive.PromiseSeal();  // before the header goes out
  const std::string text = "Roses are red.";
  archive.PutNextEntry(u"roses.txt");
  archive.Write(text.data(), static_cast<unsigned int>(text.size()));
  archive.CloseEntry();
  const unsigned int cut = target.GetSize();
  archive.PutNextEntry(u"empty.txt");
  archive.WriteSeal();  // completes the entry, too
  archive.Close();
  return cut;
}

// Verifies all entries, and says whether they are all that were written.
bool Verify(const char* bytes, unsigned int size) {
  Vx::MemoryIBinaryChannel source(bytes, size);
  ArchiveIBinaryChannel archive(source);
  unsigned int count = 0;
  while (archive.GetNextEntry()) {
    archive.CloseEntry();
    ++count;
  }
  const ArchiveEnd end = archive.GetEnd();
  const bool sealed = end.state == ArchiveEnd::State::SealedRight && !end.IsDamaged();
  std::printf("%u %s verified, %s\n", count, count == 1 ? "entry" : "entries",
              sealed ? "sealed and right" : "but that is not all");
  return sealed;
}

}  // namespace

int main() {
  try {
    Vx::MemoryOBinaryChannel written;
    const unsigned int cut = WriteArchive(written);
    const bool whole = Verify(written.GetBuffer(), written.GetSize());
    const bool torn = Verify(written.GetBuffer(), cut);
    return whole && !torn ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

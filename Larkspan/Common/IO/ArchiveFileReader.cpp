#include "Larkspan/Common/IO/ArchiveFileReader.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"

namespace Larkspan::Common::IO {

void CheckReadToEnd(const Vx::IBinaryChannel& file) {
  if (file.GetAvailable() != 0) {
    throw ArchiveException("Failed to read archive file: the file could not be read to its end.",
                           __FILE__, __LINE__);
  }
}

ArchiveFileReader::ArchiveFileReader(const ::IO::Location& location, const FileShare& share)
    : file(Vx::New<FileIBinaryChannel>(location, share)), channel(file) {}

ArchiveIBinaryChannel::EntryRef ArchiveFileReader::GetNextEntry() {
  auto entry = channel.GetNextEntry();
  if (!entry) CheckReadToEnd(*file);
  return entry;
}

}  // namespace Larkspan::Common::IO

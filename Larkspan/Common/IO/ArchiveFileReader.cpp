#include "Larkspan/Common/IO/ArchiveFileReader.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"

namespace Larkspan::Common::IO {

void CheckReadToEnd(const Vx::IBinaryChannel& file) {
  if (file.GetAvailable() != 0) {
    throw ArchiveException("Failed to read archive file: the file could not be read to its end.",
                           __FILE__, __LINE__);
  }
}

ArchiveFileReader::ArchiveFileReader(const ::IO::Location& location, const FileShare& share)
    : file(Vx::New<FileIBinaryChannel>(location, share)), channel(file) {}

ArchiveFileReader::ArchiveFileReader(::IO::File& openFile)
    : file(Vx::New<FileIBinaryChannel>(openFile)), channel(file) {
  if (const int status = openFile.Seek(::IO::SeekOrigin::Begin, 0); status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to read from file binary input channel.", __FILE__, __LINE__),
        openFile, status);
  }
}

ArchiveIBinaryChannel::EntryRef ArchiveFileReader::GetNextEntry() {
  auto entry = channel.GetNextEntry();
  if (!entry) CheckReadToEnd(*file);
  return entry;
}

}  // namespace Larkspan::Common::IO

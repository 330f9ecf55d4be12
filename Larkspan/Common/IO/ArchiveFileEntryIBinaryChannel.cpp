#include "Larkspan/Common/IO/ArchiveFileEntryIBinaryChannel.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/CloseInDestructor.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"

namespace Larkspan::Common::IO {

ArchiveFileEntryIBinaryChannel::ArchiveFileEntryIBinaryChannel(
    const ::IO::Location& location, const Vx::Ref<ArchiveEntry, Vx::Counter>& entry) {
  const Vx::IBinaryChannelRef file(Vx::New<FileIBinaryChannel>(location, FileShare::NoShare));
  reader = Vx::MakeRef<ArchiveIBinaryChannel, Vx::AtomicCounter>(file);
  for (auto next = reader->GetNextEntry(); next && !next->Equals(*entry);
       next = reader->GetNextEntry()) {
    reader->CloseEntry();
  }
  if (!reader->HasCurrentEntry()) {
    CheckReadToEnd(*file);
    throw ArchiveException(
        "Failed to create archive file entry binary input channel: archive entry not found.",
        __FILE__, __LINE__);
  }
}

ArchiveFileEntryIBinaryChannel::~ArchiveFileEntryIBinaryChannel() {
  CloseInDestructor(*this);
}

unsigned int ArchiveFileEntryIBinaryChannel::Read(char* buffer, unsigned int size,
                                                  ReadSomeModeSelector mode) {
  CheckOpened();
  return reader->Read(buffer, size, mode);
}

unsigned __int64 ArchiveFileEntryIBinaryChannel::GetAvailable() const {
  CheckOpened();
  return reader->GetAvailable();
}

void ArchiveFileEntryIBinaryChannel::Close() {
  if (!reader) return;
  reader->Close();
  reader.Reset();
}

void ArchiveFileEntryIBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (!reader) {
    throw Vx::IOException("Archive file entry binary input channel is closed.", file, line);
  }
}

}  // namespace Larkspan::Common::IO

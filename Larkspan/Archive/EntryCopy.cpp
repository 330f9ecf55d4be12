#include "Larkspan/Archive/EntryCopy.h"

#include <algorithm>

#include "Larkspan/Archive/InputWindow.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/Memory.h"

namespace Larkspan::Archive {
namespace {

constexpr unsigned int BufferSize = 0x10000;

void Tell(const CopyProgress& progress, unsigned int size) {
  if (progress) progress(size);
}

void Verify(const ArchiveIndex& index, std::size_t number, char* buffer,
            const CopyProgress& progress) {
  const Vx::IBinaryChannelRef data = index.OpenEntry(number);
  while (data->Read(buffer, BufferSize, Vx::IBinaryChannel::ReadSome) != 0) Tell(progress, 0);
}

}  // namespace

// A friend of the index, which alone knows where entries are.
class EntryCopier final {
 public:
  static const EntryPlace& GetPlace(const ArchiveIndex& index, std::size_t number) {
    return index.GetPlace(number);
  }

  static void CopyFrames(const ArchiveIndex& index, std::size_t number,
                         Common::IO::ArchiveOBinaryChannel& target, char* buffer,
                         const CopyProgress& progress) {
    const EntryPlace& place = index.GetPlace(number);
    const auto windowSize = std::min<unsigned __int64>(place.end - place.data, BufferSize);
    InputWindow window(index.input, place.data, static_cast<unsigned int>(windowSize));
    Vx::IChannelX channel(window, Common::IO::JavaDataInputProtocolX::GetInstance());
    unsigned __int64 copied = 0;
    unsigned int left = 0;
    for (channel.Read(left); left != 0; channel.Read(left)) {
      if (left > place.archivedSize - copied) Fail(__LINE__);
      copied += left;
      target.PutFrame(left);
      while (left != 0) {
        const unsigned int count = channel.ReadBin(buffer, std::min(left, BufferSize));
        if (count == 0) Fail(__LINE__);
        target.Write(buffer, count);
        left -= count;
        Tell(progress, count);
      }
    }
    if (copied != place.archivedSize) Fail(__LINE__);
  }

 private:
  [[noreturn]] static void Fail(unsigned int line) {
    throw Common::IO::ArchiveException(
        "Failed to copy archive entry: its frames do not fit its footer.", __FILE__, line);
  }
};

void CopyEntry(const ArchiveIndex& index, std::size_t number,
               Common::IO::ArchiveOBinaryChannel& target, CopyCheck check,
               const CopyProgress& progress) {
  const ArchiveIndex::EntryRef entry = index.GetEntry(number);
  Common::IO::ArchiveHeaders headers(0, 0);
  for (const auto& [name, value] : entry->EnumerateHeaders()) headers.Put(name, value);
  CopyEntry(index, number, entry->GetName(), headers, target, check, progress);
}

void CopyEntry(const ArchiveIndex& index, std::size_t number, const Vx::UniString& name,
               const Common::IO::ArchiveHeaders& headers, Common::IO::ArchiveOBinaryChannel& target,
               CopyCheck check, const CopyProgress& progress) {
  const Vx::ByteArray buffer = Vx::NewByteArray(BufferSize);
  const EntryPlace& place = EntryCopier::GetPlace(index, number);
  if (check == CopyCheck::Verify) Verify(index, number, buffer.get(), progress);
  target.PutEncodedEntry(name, headers, place.method);
  EntryCopier::CopyFrames(index, number, target, buffer.get(), progress);
  target.CloseEncodedEntry(place.size, place.crc);
}

}  // namespace Larkspan::Archive

#include <vector>

#include <zlib.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "foundation/Vx/GeneralException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "fuzz/Target.h"

namespace {

using Larkspan::Common::IO::ArchiveIBinaryChannel;

// Name, method, headers and data of each verified entry, and the failure. Small inputs can stand
// for much data; what lies beyond `most` is left to `CloseEntry`.
std::vector<std::string> ReadArchive(Vx::IBinaryChannel&& source, unsigned int piece,
                                     std::size_t most) {
  ArchiveIBinaryChannel archive(source);
  std::vector<std::string> told;
  try {
    while (const auto entry = archive.GetNextEntry()) {
      std::string data;
      Fuzz::ReadInto(data, archive, piece, most);
      archive.CloseEntry();
      Fuzz::Require(entry->IsClosed(), "an entry is closed once it is verified");
      if (data.size() < most) {
        const auto* const bytes = reinterpret_cast<const Bytef*>(data.data());
        Fuzz::Require(entry->GetSize() == data.size(), "a verified entry has its size");
        Fuzz::Require(entry->GetCRC() == crc32(0, bytes, static_cast<uInt>(data.size())),
                      "a verified entry has the CRC of its data");
      }
      told.push_back(entry->GetName().ToUTF8() + "\n" + std::to_string(entry->GetMethod()));
      for (const auto& [name, value] : entry->EnumerateHeaders()) {
        told.back() += "\n" + name.ToUTF8() + "=" + value.ToUTF8();
      }
      told.back() += "\n" + data.substr(0, most);
    }
  } catch (const Vx::GeneralException& exception) {
    told.push_back(exception.GetMessage().ToUTF8());
  }
  return told;
}

}  // namespace

/// A whole archive: what is reported as verified must be so, and how the bytes are cut must not
/// show.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t most = 1U << 17U;
  const std::string bytes(Fuzz::ToView(data, size));
  const auto count = static_cast<unsigned int>(size);
  const auto whole = ReadArchive(Vx::MemoryIBinaryChannel(bytes.data(), count), 4096, most);
  Fuzz::Require(ReadArchive(Tests::PiecewiseInput(bytes, 1), 7, most) == whole, "cuts do not show");
  Fuzz::Require(ReadArchive(Tests::PiecewiseInput(bytes), 1, 0).size() == whole.size(),
                "reading over an entry verifies it");
  return 0;
}

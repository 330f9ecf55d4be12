#include <vector>

#include <zlib.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "foundation/Vx/GeneralException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "fuzz/Target.h"

namespace {

using Larkspan::Common::IO::ArchiveIBinaryChannel;

// Small inputs can stand for much data; what lies beyond is left to `CloseEntry`.
constexpr std::size_t MaxDataSize = 1U << 17U;

struct Reading {
  std::vector<std::string> verified;  // name, method, headers and data of an entry
  std::string failure;

  bool operator==(const Reading&) const = default;
};

std::string ReadEntry(ArchiveIBinaryChannel& archive, unsigned int piece) {
  const ArchiveIBinaryChannel::EntryRef entry = archive.GetCurrentEntry();
  Fuzz::Require(!entry->IsClosed() && entry->GetSize() == 0, "an open entry has no size");
  std::string data;
  Fuzz::ReadInto(data, archive, piece, MaxDataSize);
  archive.CloseEntry();
  Fuzz::Require(entry->IsClosed(), "an entry is closed once it is verified");
  Fuzz::Require(!archive.HasCurrentEntry(), "a closed entry is not the current one");
  if (data.size() < MaxDataSize) {
    Fuzz::Require(entry->GetSize() == data.size(), "a verified entry has the size of its data");
    const auto* const bytes = reinterpret_cast<const Bytef*>(data.data());
    Fuzz::Require(entry->GetCRC() == crc32(0, bytes, static_cast<uInt>(data.size())),
                  "a verified entry has the CRC of its data");
  }
  std::string told = entry->GetName().ToUTF8() + "\n" + std::to_string(entry->GetMethod()) + "\n";
  for (const auto& [name, value] : entry->EnumerateHeaders()) {
    told += name.ToUTF8() + "=" + value.ToUTF8() + "\n";
  }
  return told + data;
}

Reading ReadArchive(Vx::IBinaryChannel& source, unsigned int piece) {
  ArchiveIBinaryChannel archive(source);
  Reading reading;
  try {
    while (archive.GetNextEntry()) reading.verified.push_back(ReadEntry(archive, piece));
  } catch (const Vx::GeneralException& exception) {
    reading.failure = exception.GetMessage().ToUTF8();
  }
  return reading;
}

// Lets the channel read past the data by itself. Counts the entries that it then said to be closed.
std::size_t CountVerified(std::string_view bytes) {
  Fuzz::PiecewiseSource source(bytes, bytes.size());
  ArchiveIBinaryChannel archive(source);
  std::size_t count = 0;
  try {
    while (const auto entry = archive.GetNextEntry()) {
      archive.CloseEntry();
      Fuzz::Require(entry->IsClosed(), "an entry is closed once it is verified");
      ++count;
    }
  } catch (const Vx::GeneralException&) {
    // That it fails in the same place is shown by the count.
  }
  return count;
}

}  // namespace

/// A whole archive: what is reported as verified must be so, and how the bytes are cut must not
/// show.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = Fuzz::ToView(data, size);
  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(size));
  Fuzz::PiecewiseSource bytewise(bytes, 1);
  const Reading whole = ReadArchive(memory, 4096);
  const Reading pieces = ReadArchive(bytewise, 7);
  Fuzz::Require(whole == pieces, "cuts do not show");
  Fuzz::Require(CountVerified(bytes) == whole.verified.size(), "reading over an entry verifies it");
  return 0;
}

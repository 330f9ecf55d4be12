#include "Larkspan/Common/IO/ArchiveHeaderSize.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/CountingOBinaryChannel.h"

namespace Larkspan::Common::IO {
namespace {

class NullOutput final : public Vx::OBinaryChannel {
 public:
  void Write(const char*, unsigned int) override {}
  void Flush() override {}
  void Close() override {}
};

}  // namespace

// Counts what the writer writes, so that no width of the format stands here again.
unsigned __int64 GetArchiveHeaderSize(const ArchiveHeaders& headers, bool sealed) {
  NullOutput sink;
  CountingOBinaryChannel counter(sink);
  ArchiveOBinaryChannel archive(counter, 0);
  for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
  if (sealed) archive.PromiseSeal();
  archive.Flush();
  return counter.GetCount();
}

unsigned int FitReservedHeaderSize(const ArchiveHeaders& headers, unsigned int reservedSize,
                                   bool sealed) {
  NullOutput sink;
  const ArchiveOBinaryChannel sizeCheck(sink, reservedSize);
  if (reservedSize == 0) return 0;
  const unsigned __int64 needed = GetArchiveHeaderSize(headers, sealed) + (sealed ? 1 : 0);
  unsigned __int64 fitting = reservedSize;
  while (fitting < needed) fitting *= 2;
  if (!IsReservedHeaderSize(fitting)) {
    throw ArchiveException(
        "Failed to write archive header: archive header size exceeds the specified header size.",
        __FILE__, __LINE__);
  }
  return static_cast<unsigned int>(fitting);
}

}  // namespace Larkspan::Common::IO

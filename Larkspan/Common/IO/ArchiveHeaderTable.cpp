#include "Larkspan/Common/IO/ArchiveHeaderTable.h"

#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {

void CheckName(const Vx::UniString& name, const char* message, const char* file,
               unsigned int line) {
  if (name.IsEmpty()) throw Vx::IllegalArgumentException(message, file, line);
}

void CheckHeaderNames(const ArchiveHeaders& headers, const char* file, unsigned int line) {
  if (headers.Find(Vx::UniString()) == nullptr) return;
  throw Vx::IllegalArgumentException(
      "Invalid archive entry headers: headers contains header with empty name.", file, line);
}

void WriteHeaders(Vx::OChannelX& channel, const ArchiveHeaderIterator& headers) {
  for (const auto& [name, value] : headers) {
    WriteUTF(channel, name);
    WriteUTF(channel, value);
  }
}

}  // namespace Larkspan::Common::IO

#include "Larkspan/Common/IO/ArchiveHeaderTable.h"

#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {

void CheckName(const Vx::UniString& name, const char* message, const char* file,
               unsigned int line) {
  if (name.IsEmpty()) throw Vx::IllegalArgumentException(message, file, line);
}

void CheckHeaderNames(const ArchiveHeaders& headers, const char* file, unsigned int line) {
  if (!HasHeader(headers, Vx::UniString())) return;
  throw Vx::IllegalArgumentException(
      "Invalid archive entry headers: headers contains header with empty name.", file, line);
}

bool HasHeader(const ArchiveHeaders& headers, const Vx::UniString& name) {
  return headers.Find(name) != nullptr;
}

bool FindHeader(const ArchiveHeaders& headers, const Vx::UniString& name, Vx::UniString& value) {
  const auto* const entry = headers.Find(name);
  if (entry == nullptr) return false;
  value = entry->value;
  return true;
}

Vx::UniString FindHeader(const ArchiveHeaders& headers, const Vx::UniString& name) {
  Vx::UniString value;
  FindHeader(headers, name, value);
  return value;
}

bool HaveEqualHeaders(const ArchiveHeaders& left, const ArchiveHeaders& right) {
  if (left.GetSize() != right.GetSize()) return false;
  for (const auto& [name, value] : left.EnumeratePairs()) {
    const auto* const entry = right.Find(name);
    if (entry == nullptr || entry->value != value) return false;
  }
  return true;
}

void WriteHeaders(Vx::OChannelX& channel, const ArchiveHeaderIterator& headers) {
  for (const auto& [name, value] : headers) {
    WriteUTF(channel, name);
    WriteUTF(channel, value);
  }
}

}  // namespace Larkspan::Common::IO

#include "Larkspan/Archive/ArchiveChange.h"

#include <optional>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "Larkspan/Common/IO/ArchiveLock.h"
#include "Larkspan/Common/IO/ArchiveRewrite.h"
#include "Larkspan/Common/IO/ArchiveUpdate.h"

namespace Larkspan::Archive {
namespace {

using Common::IO::ArchiveEnd;
using Common::IO::ArchiveException;
using Common::IO::ArchiveHeaders;
using Common::IO::ArchiveOBinaryChannel;
using Common::IO::ArchiveRoom;
using Common::IO::ArchiveUpdateResult;

constexpr const char* EmptyHeaderName = "Invalid archive header name: name is empty.";

// Entries that can't be reached would be lost for good.
void CheckEnd(const ArchiveEnd& end) {
  using enum ArchiveEnd::State;
  if (end.state == EndsAtFooter || end.state == SealedRight) return;
  const char* message = "Failed to update archive file: it does not end behind its last entry.";
  if (end.state == Unknown) message = "Failed to update archive file: its end can't be read.";
  if (end.IsSealPromised()) {
    message = "Failed to update archive file: its seal is missing or wrong.";
  }
  throw ArchiveException(message, __FILE__, __LINE__);
}

}  // namespace

struct ArchiveChange::State final {
  explicit State(const ::IO::Location& archive) : location(archive), lock(archive), headers(0, 0) {
    Common::IO::ArchiveFileReader reader(lock.GetFile());
    const auto& channel = reader.GetChannel();
    for (const auto& [name, value] : channel.EnumerateHeaders()) headers.Put(name, value);
    headerCheck = channel.GetEnd().headerCheck;
    reservedSize = channel.GetReservedHeaderSize();
  }

  [[nodiscard]] const ArchiveIndex& GetIndex() {
    if (!index) {
      if (!input) input.emplace(lock.GetFile());
      index.emplace(*input);
    }
    return *index;
  }

  [[nodiscard]] EntrySelection& GetEntries() {
    if (!entries) {
      const ArchiveIndex& all = GetIndex();
      entries.emplace();
      entries->Add(all);
    }
    return *entries;
  }

  [[nodiscard]] bool HasOtherEntries() const noexcept { return entries && entries->IsChanged(); }

  [[nodiscard]] ArchiveRoom GetRoom() const noexcept {
    return {reservedSize, headerCheck != ArchiveEnd::HeaderCheck::None};
  }

  Result Commit(const CopyOptions& options, const Append& append) {
    ArchiveHeaders settled = headers;
    if (entries) entries->Settle(settled);
    if (!append && !HasOtherEntries()) {
      if (!headersChanged) return {false, reservedSize, true};
      if (!Common::IO::NeedsRewrite(settled, GetRoom())) {
        return Take(settled, UpdateArchiveHeaders(location, lock, settled), false);
      }
    }
    CheckEnd(GetIndex().GetEnd());
    const auto write = [&](ArchiveOBinaryChannel& archive, Vx::OBinaryChannel&) {
      GetEntries().Write(archive, options);
      if (append) append(archive);
      archive.CloseEntry();
      if (GetRoom().sealPromised) archive.WriteSeal();
    };
    const auto result = UpdateArchiveEntries(location, lock, settled, std::ref(write));
    entries.reset();
    index.reset();
    input.reset();
    return Take(settled, result, true);
  }

  // What the archive is like now.
  Result Take(const ArchiveHeaders& written, const ArchiveUpdateResult& result, bool isRewritten) {
    reservedSize = result.reservedSize;
    headerCheck = result.headerCheck;
    headersChanged = false;
    headers = written;
    return {isRewritten, result.reservedSize, result.ownerKept};
  }

  const ::IO::Location location;
  Common::IO::ArchiveLock lock;
  ArchiveHeaders headers;
  bool headersChanged = false;
  unsigned int reservedSize = 0;
  ArchiveEnd::HeaderCheck headerCheck = ArchiveEnd::HeaderCheck::None;
  std::optional<FileRandomInput> input;
  std::optional<ArchiveIndex> index;
  std::optional<EntrySelection> entries;
};

ArchiveChange::ArchiveChange(const ::IO::Location& archive) : state(Vx::New<State>(archive)) {}

ArchiveChange::~ArchiveChange() = default;

const ArchiveHeaders& ArchiveChange::GetHeaders() const noexcept {
  return state->headers;
}

void ArchiveChange::PutHeader(const Vx::UniString& name, const Vx::UniString& value) {
  Common::IO::CheckName(name, EmptyHeaderName);
  state->headers.Put(name, value);
  state->headersChanged = true;
}

void ArchiveChange::ClearHeader(const Vx::UniString& name) {
  Common::IO::CheckName(name, EmptyHeaderName);
  state->headers.Delete(name);
  state->headersChanged = true;
}

unsigned int ArchiveChange::GetReservedHeaderSize() const noexcept {
  return state->reservedSize;
}

ArchiveEnd::HeaderCheck ArchiveChange::GetHeaderCheck() const noexcept {
  return state->headerCheck;
}

const ArchiveIndex& ArchiveChange::GetIndex() {
  return state->GetIndex();
}

EntrySelection& ArchiveChange::GetEntries() {
  return state->GetEntries();
}

bool ArchiveChange::NeedsRewrite() const {
  return state->HasOtherEntries() ||
         (state->headersChanged && Common::IO::NeedsRewrite(state->headers, state->GetRoom()));
}

::IO::Location ArchiveChange::GetRewriteLocation() const {
  return Common::IO::GetRewriteLocation(state->location);
}

ArchiveChange::Result ArchiveChange::Commit(const CopyOptions& options, const Append& append) {
  return state->Commit(options, append);
}

}  // namespace Larkspan::Archive

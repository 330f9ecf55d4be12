#pragma once

#include <functional>
#include <memory>

#include "Larkspan/Archive/ArchiveIndex.h"
#include "Larkspan/Archive/EntrySelection.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Archive {

/// A change of an archive in a file: of its headers, and of which entries it has. Entries that stay
/// are copied as they are; nothing is encoded anew.
///
/// From construction to destruction nobody else can change the archive: others wait, as this waits
/// for them. All that is asked for is written by `Commit`, and nothing before. Changes of headers
/// alone that fit the reserved size go in place; for all others a file is made beside the archive,
/// as `Common::IO::ArchiveFile::Update` says, and takes its name when it is complete and synced.
/// The archive is the old one or the new one, whatever happens.
///
/// Failures: `Common::IO::ArchiveException`, `Vx::IOException` and `Vx::EndOfInputException` for an
/// archive that can't be read, and what the library throws for bad names.
class LARKSPAN_API ArchiveChange final {
 public:
  /// Opens and locks the archive, waiting for others at most ten seconds, and reads its headers.
  explicit ArchiveChange(const ::IO::Location& archive);
  ArchiveChange(const ArchiveChange&) = delete;
  ArchiveChange& operator=(const ArchiveChange&) = delete;
  ~ArchiveChange();

  /// The headers as they will be. The one that promises a seal is the archive's own.
  [[nodiscard]] const Common::IO::ArchiveHeaders& GetHeaders() const noexcept;
  void PutHeader(const Vx::UniString& name, const Vx::UniString& value);
  void ClearHeader(const Vx::UniString& name);

  [[nodiscard]] unsigned int GetReservedHeaderSize() const noexcept;
  [[nodiscard]] Common::IO::ArchiveEnd::HeaderCheck GetHeaderCheck() const noexcept;

  /// The archive's entries as they are. The first call of this or of `GetEntries` goes through the
  /// archive once.
  [[nodiscard]] const ArchiveIndex& GetIndex();
  /// The entries as they will be, by the same numbers, to be changed.
  [[nodiscard]] EntrySelection& GetEntries();

  /// Adds entries, behind those that are copied. The last one may be left open.
  using Append = std::function<void(Common::IO::ArchiveOBinaryChannel&)>;

  /// Whether `Commit` without entries to add would have to make a new file.
  [[nodiscard]] bool NeedsRewrite() const;
  /// Where that would be made.
  [[nodiscard]] ::IO::Location GetRewriteLocation() const;

  struct Result {
    bool isRewritten = false;
    unsigned int reservedHeaderSize = 0;
    /// False if the system refused to give the new file owner, group or permissions of the old one.
    bool ownerKept = true;
  };

  /// Writes the change; does nothing where there is none. On return it is durable. After a rewrite
  /// the object begins with the new archive.
  ///
  /// Throws `Common::IO::ArchiveException` without making a file if the archive doesn't end as a
  /// writer leaves it, since entries may be hidden there: behind its last footer, or with the seal
  /// that it promises. Throws what reading, writing, `options.progress` and `append` throw. The
  /// archive is as it was then, except where writing in place failed.
  // NOLINTNEXTLINE(modernize-use-nodiscard): who doesn't ask need not be told.
  Result Commit(const CopyOptions& options = {}, const Append& append = {});

 private:
  struct State;

  const std::unique_ptr<State> state;
};

}  // namespace Larkspan::Archive

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "Larkspan/Archive/ArchiveIndex.h"
#include "Larkspan/Archive/ParallelReader.h"
#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "foundation/Vx/Memory.h"

namespace Larkspan::Archive {

/// Entries of an archive, one after the other, from wherever they come. `EntryReader` is one; a
/// host that wants to see what is read derives another that passes calls on.
class LARKSPAN_API EntrySource {
 public:
  using EntryRef = ArchiveIndex::EntryRef;
  using Choice = ParallelReader::Choice;
  using Choose = ParallelReader::Choose;
  using Look = std::function<void(const Vx::UniString& name)>;
  using Take = std::function<void(std::string_view data)>;

  virtual ~EntrySource();
  EntrySource(const EntrySource&) = delete;
  EntrySource& operator=(const EntrySource&) = delete;

  /// For questions about the archive's headers.
  [[nodiscard]] virtual const Common::IO::ArchiveIBinaryChannel& GetArchive() const = 0;

  /// From now on, `choose` is asked for each entry, perhaps before those in front of it were read.
  /// To be called before `Next`.
  virtual void SetChoice(Choose choose) = 0;

  /// Calls `look` with the name of every entry, decoding none, up to the first damage. To be called
  /// before `Next`. False, with nothing done, where the archive can be read only once.
  virtual bool LookAhead(const Look& look) = 0;

  /// Verifies what is left of the entry before, and returns the next one that is chosen; empty at
  /// the end.
  [[nodiscard]] virtual EntryRef Next() = 0;
  /// More of the entry's data; empty at its end, where it has been verified. Valid until the next
  /// call.
  [[nodiscard]] virtual std::string_view ReadChunk() = 0;
  /// Gives the entry up without verifying what is left of it, so that the next one can be read
  /// after a bad one.
  virtual void Leave() = 0;

  /// Hands the data of the last entry of that name to `take`, piece by piece, and verifies it.
  /// False if there is none, or if the archive can be read only once.
  [[nodiscard]] virtual bool CopyEntry(const Vx::UniString& name, const Take& take) = 0;

 protected:
  EntrySource() noexcept = default;
};

/// The entries of an archive that is a stream or a file. Of a file, those that come next are
/// decoded on other threads meanwhile (`ParallelReader`). Fails as `ArchiveIBinaryChannel` and
/// `ParallelReader` do.
class LARKSPAN_API EntryReader final : public EntrySource {
 public:
  /// Reads a stream, which outlives the reader.
  explicit EntryReader(Vx::IBinaryChannel& stream);
  /// Reads a file on `jobs` threads, or, with none, as a stream. `file` outlives the reader.
  EntryReader(const RandomInput& file, unsigned int jobs);
  /// The same where the caller has both: the stream of the file is read for its headers, and, with
  /// no jobs, for all.
  EntryReader(Vx::IBinaryChannel& stream, const RandomInput& file, unsigned int jobs);
  ~EntryReader() override;

  [[nodiscard]] const Common::IO::ArchiveIBinaryChannel& GetArchive() const override {
    return *channel;
  }
  void SetChoice(Choose choose) override { chooseEntry = std::move(choose); }
  bool LookAhead(const Look& look) override;
  [[nodiscard]] EntryRef Next() override;
  [[nodiscard]] std::string_view ReadChunk() override;
  void Leave() override;
  [[nodiscard]] bool CopyEntry(const Vx::UniString& name, const Take& take) override;

  /// How the archive ends, and what its seal says: known behind the last entry.
  [[nodiscard]] Common::IO::ArchiveEnd GetEnd() const {
    return parallel ? parallel->GetEnd() : channel->GetEnd();
  }
  /// Whether entries come with the sizes and CRCs that their footers claim.
  [[nodiscard]] bool KnowsSizes() const noexcept { return file != nullptr && jobs != 0; }

 private:
  [[nodiscard]] EntryRef FindNext();

  const std::unique_ptr<Vx::IBinaryChannel> window;  // null if the stream is the caller's
  std::optional<Common::IO::ArchiveIBinaryChannel> channel;
  const RandomInput* const file;
  const unsigned int jobs;
  Choose chooseEntry;
  std::optional<ParallelReader> parallel;  // from the first `Next` on
  std::optional<ArchiveIndex> index;       // from the first `CopyEntry` on
  Vx::ByteArray buffer;
  bool open = false;  // an entry whose end has not been met
};

}  // namespace Larkspan::Archive

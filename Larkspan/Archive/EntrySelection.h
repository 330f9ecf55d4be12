#pragma once

#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "Larkspan/Archive/EntryCopy.h"

namespace Larkspan::Archive {

/// How entries are copied.
struct CopyOptions {
  CopyCheck check = CopyCheck::Verify;
  /// Threads that verify.
  unsigned int jobs = 1;
  CopyProgress progress = {};
};

/// Entries of archives on their way into another one, into which they are copied as they are: all
/// but those that are dropped, in the order in which they were added, numbered from 0 on.
///
/// Takes 4 bytes of memory for each entry, and more for those that change.
class LARKSPAN_API EntrySelection final {
 public:
  EntrySelection() = default;
  EntrySelection(const EntrySelection&) = delete;
  EntrySelection& operator=(const EntrySelection&) = delete;

  /// Adds all entries of an archive, whose index outlives this object. Returns the number of the
  /// first.
  std::size_t Add(const ArchiveIndex& index);

  /// Dropped ones count, and keep their numbers.
  [[nodiscard]] std::size_t GetCount() const noexcept { return states.size(); }
  /// These throw `Vx::IllegalArgumentException` for a number that no entry has.
  [[nodiscard]] ArchiveIndex::EntryRef GetEntry(std::size_t number) const;
  /// Its name in the new archive.
  [[nodiscard]] Vx::UniString GetName(std::size_t number) const;
  [[nodiscard]] bool IsDropped(std::size_t number) const;
  /// Encoded bytes of all that are not dropped.
  [[nodiscard]] Vx::UInt64 GetArchivedSize() const;

  void Drop(std::size_t number);
  /// Drops what dropped entries tell of a folder, too.
  void DropFolder(const Vx::UniString& path);
  /// Drops each entry that has one of the same name behind it.
  void KeepLast();
  /// Gives an entry another name and other headers. Throws `Vx::IllegalArgumentException` for an
  /// empty name, too.
  void Put(std::size_t number, const Vx::UniString& name,
           const Common::IO::ArchiveHeaders& headers);
  /// Whether the new archive would have other entries than those that were added.
  [[nodiscard]] bool IsChanged() const noexcept { return changed; }

  /// Follows up what was dropped and named anew: after all changes and before `Write`.
  ///
  /// A hard link gets the data of its file if that was dropped and no other link has got them, and
  /// else leads to whoever has them. What headers of a dropped entry tell of folders goes to the
  /// headers of the next entry below, or if there is none, to `archiveHeaders`: those of the new
  /// archive. Reads the hard links. Throws what reading throws.
  void Settle(Common::IO::ArchiveHeaders& archiveHeaders);

  /// Writes the entries to `target`. Throws what `CopyEntry` throws; the target is damaged then.
  void Write(Common::IO::ArchiveOBinaryChannel& target, const CopyOptions& options) const;

 private:
  struct Change {
    std::size_t data;  // number of the entry whose data it has
    Vx::UniString name;
    Common::IO::ArchiveHeaders headers;
    std::optional<Vx::UniString> target;  // of a hard link that leads elsewhere now
  };
  struct Source {
    const ArchiveIndex* index;
    std::size_t first;  // number of its first entry
  };
  struct Place {
    const ArchiveIndex* index;
    std::size_t first;
    std::size_t number;  // in the archive that it comes from
  };
  template <class T>
  using List = std::vector<T, Vx::Allocator<T>>;
  template <class T>
  using Queue = std::deque<T, Vx::Allocator<T>>;
  // From numbers of entries to those of others.
  using Numbers = std::map<std::size_t, std::size_t, std::less<>,
                           Vx::Allocator<std::pair<const std::size_t, std::size_t>>>;

  // The state of an entry: these two, or behind them the number of its change.
  static constexpr unsigned int Kept = 0;
  static constexpr unsigned int Dropped = 1;
  static constexpr unsigned int FirstChange = 2;

  [[nodiscard]] Place Find(std::size_t number, unsigned int line = __builtin_LINE()) const;
  [[nodiscard]] const Change* GetChange(std::size_t number) const noexcept;
  Change& MakeChange(std::size_t number);
  [[nodiscard]] std::optional<std::size_t> FindLinked(std::size_t number,
                                                      const Vx::UniString& target) const;
  void SettleLinks();
  void SettleLink(std::size_t number, const Vx::UniString& target, Numbers& contents,
                  Numbers& heirs);
  void Inherit(std::size_t heir, std::size_t content);
  void PlaceFolders(Common::IO::ArchiveHeaders& orphans);
  void SettleFolders(Common::IO::ArchiveHeaders& archiveHeaders);
  void Write(const Source& source, std::size_t end, Common::IO::ArchiveOBinaryChannel& target,
             const CopyOptions& options) const;

  List<Source> sources;
  List<unsigned int> states;
  Queue<Change> changes;
  Vx::HashTable<Vx::UniString, bool> droppedFolders;  // by the names of their headers
  bool changed = false;
};

}  // namespace Larkspan::Archive

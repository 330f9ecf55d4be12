#pragma once

#include <map>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "Larkspan/Archive/FileTree.h"
#include "Larkspan/Archive/ParallelWriter.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"

namespace Larkspan::Archive {

/// Writes the files, links and folders of a tree into an archive. `TreeFacts` has the headers in
/// which times, modes, owners and links are kept, and `TreeExtractor` brings them back.
///
/// A symbolic link becomes a stored entry with the target as data, and a further name of a file
/// (a hard link) one with the name of the first; readers that know nothing of that get a short
/// text.
class LARKSPAN_API TreeArchiver final {
 public:
  /// Ends of names, behind the last dot, of files whose data is compressed already and does not
  /// shrink by much (see `docs/performance.md`): archives, pictures, sound, films, fonts, and
  /// documents of office programs.
  static constexpr std::u16string_view DefaultStoredSuffixes[] = {
      u"7z",   u"aac",  u"apk", u"avif", u"br",    u"bz2",  u"cab",  u"deb", u"docx", u"epub",
      u"flac", u"gif",  u"gz",  u"heic", u"jar",   u"jpeg", u"jpg",  u"jxl", u"lz",   u"lz4",
      u"lzma", u"m4a",  u"m4v", u"mkv",  u"mov",   u"mp3",  u"mp4",  u"odp", u"ods",  u"odt",
      u"ogg",  u"opus", u"png", u"pptx", u"rar",   u"rpm",  u"tbz2", u"tgz", u"txz",  u"war",
      u"webm", u"webp", u"whl", u"woff", u"woff2", u"xlsx", u"xz",   u"zip", u"zst"};

  struct Options {
    Common::IO::ArchiveEntry::Method method = Common::IO::ArchiveEntry::Deflated;
    /// Store further names of a file as files of their own.
    bool copyHardLinks = false;
    /// Keep owner and group of everything, by number and name.
    bool keepOwners = false;
    /// Files whose names end with a dot and one of these are stored. Without the dot and in small
    /// letters, which stand for large ones, too.
    std::unordered_set<Vx::UniString> storedSuffixes = {};
  };

  /// What happens on the way. Whatever an operation throws ends the work and passes through: that
  /// is how to cancel it.
  class Watcher {
   public:
    /// An item can't be opened, and is left out. `status` is what the system said.
    virtual void OnLeftOut(const ::IO::Location& location, int status) = 0;
    /// A file had another size or time after it was read than when it was found: its entry is whole
    /// in itself, but may be a mixture.
    virtual void OnChanged(const ::IO::Location& location) = 0;
    /// An open file can't be read to its end. Has to throw; what the library throws if it doesn't
    /// is `Vx::IOException` with the status as its detail.
    virtual void OnReadFailure(const ::IO::Location& /*location*/, int /*status*/) {}
    /// A folder's path is too long for a header that tells of its mode, time and owners.
    virtual void OnFactsLost(const Vx::UniString& /*folder*/) {}
    /// So many bytes more have been read, perhaps none.
    virtual void OnRead(unsigned int /*bytes*/) {}
    /// An item is about to be read, with so many bytes as far as that is known.
    virtual void OnItemBegin(const Vx::UniString& /*name*/, Vx::UInt64 /*size*/) {}
    /// An item is complete.
    virtual void OnItem(const Vx::UniString& /*name*/) {}

   protected:
    Watcher() noexcept = default;
    Watcher(const Watcher&) noexcept = default;
    Watcher& operator=(const Watcher&) noexcept = default;
    ~Watcher() = default;
  };

  /// Both must outlive this object.
  TreeArchiver(const FileTree& fileTree, const Options& archiverOptions, Watcher& treeWatcher);
  TreeArchiver(const TreeArchiver&) = delete;
  TreeArchiver& operator=(const TreeArchiver&) = delete;
  ~TreeArchiver();

  /// Adds the headers of the archive that stand for empty folders.
  void PutHeaders(Common::IO::ArchiveHeaders& headers);
  /// Adds all entries. Throws what the watcher and `ParallelWriter::Add` throw.
  void Write(ParallelWriter& writer);

 private:
  class Input;

  void PutFolder(const Vx::UniString& name, const ::IO::Attributes& attributes,
                 Common::IO::ArchiveHeaders& headers);
  [[nodiscard]] Vx::UniString DescribeFolder(const ::IO::Attributes& attributes);
  void PutFacts(const Vx::UniString& name, const ::IO::Attributes& attributes, bool hasTime);
  void PutFolders(const Vx::UniString& name);
  void PutOwners(const ::IO::Attributes& attributes);
  [[nodiscard]] Common::IO::ArchiveEntry::Method GetMethod(const Vx::UniString& name) const;
  void Add(const FileTree::Item& item, ParallelWriter& writer);
  void AddFile(const Vx::UniString& name, const FileTree::Item& item, ParallelWriter& writer);
  bool AddHardLink(const Vx::UniString& name, const FileTree::Item& item, ParallelWriter& writer);
  void AddSymbolicLink(const Vx::UniString& name, const FileTree::Item& item,
                       ParallelWriter& writer);
  void AddLink(const Vx::UniString& name, const char16_t* type, std::string_view target,
               ParallelWriter& writer);

  const FileTree& tree;
  const Options options;
  Watcher& watcher;
  // The first name of each file with more than one, by device and inode.
  std::map<std::pair<Vx::UInt64, Vx::UInt64>, Vx::UniString> firstNames;
  std::unordered_set<Vx::UniString> toldFolders;
  std::map<unsigned int, TreeFacts::Account> owners;
  std::map<unsigned int, TreeFacts::Account> groups;
  Common::IO::ArchiveHeaders entryHeaders;  // of the entry at work
};

}  // namespace Larkspan::Archive

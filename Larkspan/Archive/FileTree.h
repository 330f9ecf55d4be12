#pragma once

#include <functional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Attributes.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Archive {

/// The files, links and empty folders that some paths lead to, in an order that depends on nothing
/// but paths and names. It is a list of names and metadata; no content is read. Takes some hundred
/// bytes per item.
class LARKSPAN_API FileTree final {
 public:
  /// Why an item is left out.
  enum class Reason : int {
    Unreadable,     // the system refused it, with a status
    NeitherKind,    // a device, a pipe or a socket
    LeadsNowhere,   // a link that is to be followed
    LeadsToFolder,  // the same
    Unfinished,     // a file that this library has begun to write
    Excluded,       // one that was excluded by its identity: the archive itself
  };

  /// What happens on the way. Whatever an operation throws ends the walk and passes through: that
  /// is how to cancel it.
  class Watcher {
   public:
    /// An item was left out. `status` is what the system said, 0 for nothing.
    virtual void OnLeftOut(const ::IO::Location& location, Reason reason, int status) = 0;
    /// Called before each item.
    virtual void OnStep() {}

   protected:
    Watcher() noexcept = default;
    Watcher(const Watcher&) noexcept = default;
    Watcher& operator=(const Watcher&) noexcept = default;
    ~Watcher() = default;
  };

  struct Options {
    /// Take the file that a symbolic link leads to, in place of the link; links to folders are left
    /// out then.
    bool followLinks = false;
    /// Don't go down into other file systems; the folders where they begin count as empty.
    bool oneFileSystem = false;
    /// Of a folder marked as a cache (a file CACHEDIR.TAG that begins with the signature of the
    /// Cache Directory Tagging Specification), take only that file.
    bool leaveOutCaches = false;
    /// Whether to take an item, by the name of its entry; nothing below a folder is asked for that
    /// is not taken.
    std::function<bool(const Vx::UniString& name, const ::IO::Attributes& attributes)> filter;
  };

  /// One entry, or a folder with nothing in it.
  struct Item {
    unsigned int folder;  // index of the folder that it stands in
    Vx::UniString name;
    ::IO::Attributes attributes;
    Vx::IBinaryChannel* source = nullptr;  // of an item that is not in the file system

    [[nodiscard]] bool IsFolder() const noexcept {
      return attributes.type == ::IO::EntryType::Folder;
    }
  };

  /// Two different items have one name, or a file that of a folder.
  class NameConflict final : public Vx::IOException {
   public:
    NameConflict(const Vx::UniString& conflictName, const char* file, unsigned int line);
    [[nodiscard]] const Vx::UniString& GetEntryName() const noexcept { return name; }

   private:
    Vx::UniString name;
  };

  FileTree(Options treeOptions, Watcher& treeWatcher);
  FileTree(const FileTree&) = delete;
  FileTree& operator=(const FileTree&) = delete;
  ~FileTree();

  /// Leaves out the file of this device and inode.
  void Exclude(const ::IO::Attributes& attributes) { excluded.push_back(attributes); }

  /// What stands at the location, with all below it. The entries' names begin with `name`, which
  /// is relative, with `/` between its parts, or empty for the content of a folder alone.
  /// Throws `Vx::IOException`, with path and status as its detail, where nothing is or nobody may
  /// look, what the watcher throws, and `Vx::OutOfMemoryException`.
  void Add(const ::IO::Location& location, const Vx::UniString& name);
  /// What a channel has, as a file of that name. The channel must outlive the tree's use.
  void AddChannel(const Vx::UniString& name, const ::IO::Attributes& attributes,
                  Vx::IBinaryChannel& source);

  /// Drops what was found twice, if there was more than one `Add`. Throws `NameConflict`.
  void CheckNames();

  /// Drops the items that are not wanted.
  void KeepIf(const std::function<bool(const Item&)>& wanted) {
    std::erase_if(items, [&](const Item& item) { return !wanted(item); });
  }

  [[nodiscard]] const std::vector<Item>& GetItems() const noexcept { return items; }
  [[nodiscard]] ::IO::Location GetLocation(const Item& item) const;
  /// Relative, with `/`, and such that an extraction takes it.
  [[nodiscard]] Vx::UniString GetEntryName(const Item& item) const;
  /// What is known of the folder of that name, or null. Folders that only stand in the name given
  /// to `Add` are not known.
  [[nodiscard]] const ::IO::Attributes* FindFolder(const Vx::UniString& name) const;

 private:
  struct Branch {
    ::IO::Location location;
    Vx::UniString prefix;  // of the entries' names: empty, or ends with `/`
  };

  unsigned int AddBranch(const ::IO::Location& location, Vx::UniString prefix);
  void Visit(unsigned int folder, Vx::UniString name, Vx::UInt64 device);
  void VisitFolder(unsigned int folder, Vx::UniString name, const ::IO::Attributes& attributes,
                   Vx::UInt64 device);
  bool FollowLink(const ::IO::Location& location, ::IO::Attributes& attributes);
  void LeaveOutUnreadable(const ::IO::Location& location, int status);
  void Take(unsigned int folder, Vx::UniString name, const ::IO::Attributes& attributes);
  void Walk(unsigned int folder, Vx::UInt64 device);

  const Options options;
  Watcher& watcher;
  std::vector<::IO::Attributes> excluded;
  std::vector<Branch> branches;
  std::vector<Item> items;
  std::unordered_map<Vx::UniString, ::IO::Attributes> folders;  // that are not empty, by name
  unsigned int additions = 0;
  unsigned int unreadable = 0;  // items that could not be looked at
};

}  // namespace Larkspan::Archive

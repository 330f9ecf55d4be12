#pragma once

#include <functional>
#include <limits>
#include <memory>
#include <string_view>

#include "Larkspan/Archive/EntryReader.h"
#include "Larkspan/Common/Export.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Archive {

/// Makes files, links and folders of an archive's entries, as `TreeArchiver` has kept them.
///
/// A file gets its name when it is complete and verified. Nothing comes to stand outside of the
/// target folder: no name leads out, and nothing is written by way of a symbolic link, whatever
/// another process puts there meanwhile. Symbolic links are made last, and folders get their modes
/// and times behind them. Of two entries with one name the later one holds.
///
/// Memory grows with the number of links and of folders whose facts the archive tells, and takes
/// 16 bytes for each file.
class LARKSPAN_API TreeExtractor final {
 public:
  /// What becomes of a file or link that has an entry's name already.
  enum class Overwrite : int {
    Fail,    ///< the work ends; where the archive can be read twice, before anything is written
    Skip,    ///< it stays
    Always,  ///< it is replaced; folders get modes and times
  };

  struct Options {
    Overwrite overwrite = Overwrite::Fail;
    /// Make symbolic links that may lead out of the target folder, too.
    bool makeUnsafeLinks = false;
    /// Give everything the owner and group that the archive tells, by name, else by number, and
    /// with them the set-user-ID, set-group-ID and sticky bits. Takes privileges.
    bool restoreOwners = false;
    /// Sync every file and folder.
    bool sync = false;
    /// Parts that are taken off the front of each name. What has no more is left out.
    unsigned int stripParts = 0;
    /// Bytes that all files together may have: a little archive can hold a lot of them.
    Vx::UInt64 maxSize = std::numeric_limits<Vx::UInt64>::max();
    /// Whether an entry is wanted, or an empty folder; all are if this is empty. May be asked more
    /// than once.
    std::function<bool(const Vx::UniString& name, bool isFolder)> filter;
  };

  /// What the system can refuse.
  enum class Step : int {
    Make,        ///< to make a file, or a folder on the way to it
    Enter,       ///< to open a folder
    Look,        ///< to tell what has a name
    Write,       ///< to write data; or a link has the name of a folder
    Sync,        ///< to make data or names durable
    Name,        ///< to give a complete file its name
    MakeLink,    ///< to make a symbolic or hard link
    MakeFolder,  ///< to make a folder that the archive's headers tell of
    Exists,      ///< nothing was refused: there is an item that must not be replaced
  };
  /// What an archive can have that isn't extracted.
  enum class Fault : int {
    BadName,   ///< a name that leads out, or is none on this platform
    LongLink,  ///< a target of a link that no system takes
    BadLink,   ///< a hard link's data isn't a name
    TooLarge,  ///< more data than `maxSize`
  };
  /// Why something was left out, though nothing failed.
  enum class Reason : int {
    UnfinishedName,  ///< the name is one of those that unfinished files have
    LeadsOut,        ///< a symbolic link that may lead out; its target is the detail
    LostSource,      ///< a hard link to an entry that wasn't extracted, whose name is the detail
    Exists,          ///< an item has the name, and is to stay
  };

  /// What happens on the way. Whatever an operation throws ends the work and passes through: that
  /// is how to cancel it. What was extracted until then stays.
  class LARKSPAN_API Watcher {
   public:
    /// Called before each entry, with its sizes as far as they are known.
    virtual void OnEntry(const Common::IO::ArchiveEntry& /*entry*/) {}
    /// A file or link is complete.
    virtual void OnItem(const Vx::UniString& /*name*/) {}
    /// `detail` is UTF-8, or the bytes of a link.
    virtual void OnLeftOut(Reason reason, const ::IO::Location& location,
                           std::string_view detail) = 0;
    /// An item doesn't have the mode, time or owner that the archive tells. `status` is what the
    /// system said.
    virtual void OnAttributesLost(const ::IO::Location& location, int status) = 0;
    /// The system refuses a step. May throw; else the library throws `Vx::IOException` with the
    /// status as its detail.
    virtual void OnRefused(Step /*step*/, const ::IO::Location& /*location*/, int /*status*/) {}
    /// The entry `name` has a fault; `reason` is null if the library has no exception for it yet.
    /// May throw; else the library throws the reason, or `Common::IO::ArchiveException`.
    virtual void OnFault(Fault /*fault*/, const Vx::UniString& /*name*/,
                         const VxException* /*reason*/) {}
    /// An entry is damaged, has a fault, or was refused by the system: it costs nothing but itself
    /// if this returns true. Called while the exception is being handled, so that it can be thrown
    /// again and looked at; not called where `maxSize` is reached.
    [[nodiscard]] virtual bool GoesOn() { return false; }

   protected:
    Watcher() noexcept = default;
    Watcher(const Watcher&) noexcept = default;
    Watcher& operator=(const Watcher&) noexcept = default;
    ~Watcher() = default;
  };

  /// The folder is made if it is missing. Source and watcher outlive this object.
  TreeExtractor(EntrySource& entries, const ::IO::Location& folder, const Options& options,
                Watcher& watcher);
  TreeExtractor(const TreeExtractor&) = delete;
  TreeExtractor& operator=(const TreeExtractor&) = delete;
  ~TreeExtractor();

  /// Extracts all entries that are wanted. To be called once. Throws what source and watcher throw.
  void Extract();

 private:
  class Work;

  const std::unique_ptr<Work> work;
};

}  // namespace Larkspan::Archive

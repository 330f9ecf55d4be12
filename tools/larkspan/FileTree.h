#pragma once

#include <string>
#include <vector>

#include "foundation/IO/Attributes.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"
#include "tools/larkspan/Console.h"

namespace Tool {

/// The files and empty folders that some paths lead to, in an order that depends on nothing but
/// paths and names. It is a list of names and metadata; no content is read.
///
/// A link to a file counts as the file. Links to folders, what is neither file nor folder, and what
/// can't be looked at are left out with a warning; the tool's own unfinished files with a note.
class FileTree final {
 public:
  /// One file, or a folder with nothing in it.
  struct Item {
    unsigned int folder;  // index of the folder that it stands in
    Vx::UniString name;
    ::IO::Attributes attributes;
    bool isStandardInput = false;

    [[nodiscard]] bool IsFolder() const noexcept {
      return attributes.type == ::IO::EntryType::Folder;
    }
  };

  explicit FileTree(Console& messages) noexcept : console(messages) {}

  /// Leaves out the file of this device and inode: the archive itself.
  void Exclude(const ::IO::Attributes& attributes) { excluded.push_back(attributes); }

  /// All below the path that the argument names, counted from the folder `base`, a path as the
  /// platform writes it or nothing. The entries' names are the path's: without a root, and with
  /// `.` and `..` resolved or dropped, which is reported once. Throws `Failure` where nothing is.
  void Add(const std::string& base, const std::string& path);
  /// The standard input, as one file of that name.
  void AddStandardInput(const std::string& name);

  /// Adds all paths, of which `-` is the standard input, and checks their names.
  void AddAll(const std::vector<std::string>& paths, const std::string& base,
              const std::string& inputName);

  /// Drops what was found twice. Throws `Failure` for two different files of one name, and for a
  /// file that has the name of a folder.
  void CheckNames();

  [[nodiscard]] const std::vector<Item>& GetItems() const noexcept { return items; }
  [[nodiscard]] ::IO::Location GetLocation(const Item& item) const;
  /// Relative, with `/`, and such that an extraction takes it.
  [[nodiscard]] Vx::UniString GetEntryName(const Item& item) const;

 private:
  struct Branch {
    ::IO::Location location;
    Vx::UniString prefix;  // of the entries' names: empty, or ends with `/`
  };

  unsigned int AddBranch(const ::IO::Location& location, Vx::UniString prefix);
  Vx::UniString NameFromPath(const std::string& path);
  void Visit(unsigned int folder, Vx::UniString name);
  void LeaveOut(const ::IO::Location& location, int status);
  bool FindAttributes(const ::IO::Location& location, ::IO::Attributes& attributes);
  void Take(unsigned int folder, Vx::UniString name, const ::IO::Attributes& attributes);
  void Walk(unsigned int folder);

  Console& console;
  std::vector<::IO::Attributes> excluded;
  std::vector<Branch> branches;
  std::vector<Item> items;
  unsigned int additions = 0;
  unsigned int unreadable = 0;  // items that could not be looked at
  bool namesChanged = false;
};

}  // namespace Tool

#pragma once

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Larkspan/Archive/NamePatterns.h"
#include "foundation/Vx/UniString.h"
#include "tools/larkspan/Console.h"

namespace Tool {

/// What a user leaves out.
struct ExcludeOptions {
  std::vector<std::string> exclude;      // patterns
  std::vector<std::string> excludeFrom;  // files of patterns, which come first
};

/// The names of entries that a user asks for.
struct NameOptions : ExcludeOptions {
  std::vector<std::string> names;  // entries, folders or patterns
  std::vector<std::string> nameFiles;
  bool null = false;  // names in files, and those that are printed, end with zero bytes
};

[[nodiscard]] Larkspan::Archive::NamePatterns MakePatterns(const ExcludeOptions& options);

/// The names that a user asked for, and which of them were met.
class NameSelection final {
 public:
  explicit NameSelection(const NameOptions& options);

  /// Whether all is wanted.
  [[nodiscard]] bool IsEmpty() const noexcept { return rows.empty() && excluded.IsEmpty(); }
  /// Whether there are patterns, which stand for themselves where an entry has such a name: `Note`
  /// is to be called for each entry, if they can be known in advance.
  [[nodiscard]] bool HasPatterns() const noexcept;
  void Note(const Vx::UniString& entry);

  /// Whether a name asked for is the entry's, or that of a folder above it.
  [[nodiscard]] bool TakeTree(const Vx::UniString& entry, bool isFolder = false);
  /// Whether a name asked for is the entry's, which was not met before.
  [[nodiscard]] bool TakeOnce(const Vx::UniString& entry);
  /// Whether no other entry can be wanted.
  [[nodiscard]] bool AreAllMet() const noexcept;
  /// Warns of each name that was not met.
  void ReportMissing(const std::string& subject, Console& console) const;

 private:
  struct Row {
    Vx::UniString name;
    std::optional<Larkspan::Archive::NamePattern> pattern;
    bool met = false;
  };

  [[nodiscard]] bool IsExcluded(const Vx::UniString& name, bool isFolder) const;

  std::vector<Row> rows;
  Larkspan::Archive::NamePatterns excluded;
  std::unordered_set<Vx::UniString> takenOnce;  // where there are patterns
};

}  // namespace Tool

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/Vx/UniString.h"
#include "tools/larkspan/Console.h"

namespace Tool {

/// The names that a user asked for, and which of them were met.
class NameSelection final {
 public:
  explicit NameSelection(const std::vector<std::string>& arguments);

  [[nodiscard]] bool IsEmpty() const noexcept { return rows.empty(); }
  /// Whether a name asked for is the entry's, or that of a folder above it.
  [[nodiscard]] bool TakeTree(const Vx::UniString& entry);
  /// Whether a name asked for is the entry's, which was not met before.
  [[nodiscard]] bool TakeOnce(const Vx::UniString& entry);
  [[nodiscard]] bool AreAllMet() const noexcept;
  /// Warns of each name that was not met.
  void ReportMissing(const std::string& subject, Console& console) const;

 private:
  struct Row {
    Vx::UniString name;
    bool met = false;
  };

  std::vector<Row> rows;
};

}  // namespace Tool

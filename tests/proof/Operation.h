#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "foundation/IO/Location.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {

/// What stands below a folder: the content of each file, and where each symbolic link leads, by its
/// path. Folders themselves don't count.
using Tree = std::map<std::string, std::string>;
[[nodiscard]] Tree LookAt(const std::filesystem::path& folder);

/// A folder to work in, with the locations that the operations use, made before any fault strikes.
struct Stage {
  /// Among the system's temporary folders, or in `parent`.
  explicit Stage(const std::filesystem::path& parent = {}) : folder(parent) {}

  const TemporaryFolder folder;
  const IO::Location root = folder.GetLocation();
  const IO::Location file = folder.At("f");
  const IO::Location second = folder.At("g");
  const IO::Location out = folder.At("out");
  const IO::Location entry = folder.At("out/d/new");

  void Clear() const;
  void Write(const std::string& name, const std::string& content) const;
  [[nodiscard]] Tree Look() const { return LookAt(folder.GetPath()); }
};

/// What a host can do with the library. Every proof runs over all of them: what an operation leaves
/// behind when it fails, is killed or loses power is compared with `prepare` and with `prepare` and
/// `run`, which a first run without faults shows.
struct Operation {
  using Work = std::function<void(const Stage&)>;
  /// What may be there, besides what was before and what is after.
  using Allows = std::function<bool(const Tree&)>;

  const char* name;
  Work prepare;
  /// Throws what the host would get; a `std::logic_error` tells of a wrong result.
  Work run;
  /// After a failure that was reported.
  Allows afterFailure = nullptr;
  /// After a kill or a power cut.
  Allows afterKill = afterFailure;
  /// What the next process does to come to the same end; by default the same.
  Work again = run;
  /// Whether success means that a power cut takes nothing back.
  bool durable = false;

  friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }
};

[[nodiscard]] const std::vector<Operation>& AllOperations();

}  // namespace Tests

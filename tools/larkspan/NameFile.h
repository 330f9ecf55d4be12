#pragma once

#include <string>
#include <vector>

namespace Tool {

/// The names in a file, or in the standard input for `-`: one a line, or, with `null`, each up to a
/// zero byte. Empty ones don't count. Throws `Failure`.
[[nodiscard]] std::vector<std::string> ReadNames(const std::string& file, bool null);

/// The same for several files, behind the names in `names`.
void AppendNames(const std::vector<std::string>& files, bool null, std::vector<std::string>& names);

}  // namespace Tool

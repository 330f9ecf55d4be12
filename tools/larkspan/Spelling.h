#pragma once

#include <string>
#include <vector>

namespace Tool {

/// "; did you mean WORD?" with the one of `words` that is nearest to `given`, or nothing where none
/// is near.
[[nodiscard]] std::string DidYouMean(const std::string& given,
                                     const std::vector<std::string>& words);

}  // namespace Tool

#include "tools/larkspan/Spelling.h"

#include <algorithm>
#include <numeric>

namespace Tool {
namespace {

// Letters put in, taken away, replaced, or swapped with the next one.
std::size_t Distance(const std::string& left, const std::string& right) {
  std::vector<std::size_t> older;
  std::vector<std::size_t> above(right.size() + 1);
  std::iota(above.begin(), above.end(), std::size_t{0});
  for (std::size_t row = 1; row <= left.size(); ++row) {
    std::vector<std::size_t> current(right.size() + 1, row);
    for (std::size_t column = 1; column <= right.size(); ++column) {
      const bool same = left[row - 1] == right[column - 1];
      current[column] = std::min(
          {above[column] + 1, current[column - 1] + 1, above[column - 1] + (same ? 0 : 1)});
      const bool swapped = row > 1 && column > 1 && left[row - 1] == right[column - 2] &&
                           left[row - 2] == right[column - 1];
      if (swapped) current[column] = std::min(current[column], older[column - 2] + 1);
    }
    older = std::move(above);
    above = std::move(current);
  }
  return above.back();
}

// What was begun, such as "--over" for "--overwrite", is near as well.
std::size_t Rate(const std::string& given, const std::string& word) {
  constexpr std::size_t leastBeginning = 3;
  const bool begun = given.size() >= leastBeginning && word.starts_with(given);
  return begun ? 1 : Distance(given, word);
}

}  // namespace

std::string DidYouMean(const std::string& given, const std::vector<std::string>& words) {
  constexpr std::size_t longest = 64;  // the work grows with the length
  if (words.empty() || given.size() > longest) return "";
  const auto nearest = std::ranges::min_element(
      words, {}, [&](const std::string& word) { return Rate(given, word); });
  const std::size_t distance = Rate(given, *nearest);
  const std::size_t letters =
      nearest->size() - std::min(nearest->find_first_not_of('-'), nearest->size());
  const bool isNear = distance <= 2 && distance < letters;
  return isNear ? "; did you mean " + *nearest + "?" : "";
}

}  // namespace Tool

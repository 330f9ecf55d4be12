#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/FailureOf.h"

namespace Tests {

struct FailureRow {
  std::function<void()> work;
  std::string failure;  ///< As `FailureOf` tells it; "" if the work should not fail.
  std::optional<std::string> cause = std::nullopt;  ///< Where it matters; "" if there is none.
};

/// Runs the work of each row in turn, and compares what it fails with.
inline void ExpectFailures(const std::vector<FailureRow>& rows) {
  for (const FailureRow& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows.data()));
    std::string cause;
    EXPECT_EQ(FailureOf(row.work, &cause), row.failure);
    EXPECT_EQ(cause, row.cause.value_or(cause));
  }
}

}  // namespace Tests

#include "tests/proof/Trial.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>

#include "foundation/IO/Status.h"
#include "foundation/Vx/DebugOutput.h"
#include "foundation/Vx/VxException.h"
#include "tests/support/FailureOf.h"

namespace Tests {
namespace {

std::size_t CountDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void Add(const VxException& exception, Outcome& outcome) {
  const Vx::FailureDetail* const detail = exception.GetDetail();
  const std::string text = Describe(exception);
  outcome.failure += (outcome.failure.empty() ? "" : " <- ") + text;
  // What zlib fails with has its own words.
  outcome.outOfMemory |= text.starts_with("OutOfMemoryException") ||
                         text == "IOException: Failed to initialize deflater." ||
                         text == "IOException: Failed to initialize inflater." ||
                         text == "IOException: Inflate failed: insufficient memory" ||
                         (detail != nullptr && detail->status == IO::StatusOutOfMemory);
  if (detail != nullptr) outcome.systemErrors.insert(detail->systemError);
  if (exception.GetCause() != nullptr) Add(*exception.GetCause(), outcome);
}

// Shows how much was tried, where all is.
class Points final : public testing::Environment {
 public:
  void TearDown() override {
    for (const auto& [family, count] : counts) std::cout << family << ": " << count << '\n';
  }
  std::map<std::string, std::size_t> counts;
};

Points* const points = new Points;
const testing::Environment* const registered = testing::AddGlobalTestEnvironment(points);

}  // namespace

void CountPoint(const char* family) {
  ++points->counts[family];
}

bool IsDeep() {
  return std::getenv("LARKSPAN_TEST_DEEP") != nullptr;
}

std::exception_ptr Catch(const std::function<void()>& work) noexcept {
  try {
    work();
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

Outcome Describe(const std::exception_ptr& exception) {
  Outcome outcome;
  try {
    if (exception) std::rethrow_exception(exception);
  } catch (const VxException& failure) {
    Add(failure, outcome);
  } catch (const std::exception& failure) {
    outcome.failure = failure.what();
    outcome.wrongResult = true;
  }
  return outcome;
}

Tree WithoutTemporaries(Tree tree) {
  std::erase_if(tree, [](const auto& item) {
    const std::string name = std::filesystem::path(item.first).filename();
    return name.starts_with(".larkspan-") || name.starts_with(".exchange-") ||
           name.ends_with(".updated");
  });
  return tree;
}

std::string ToTestName(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
  return name;
}

std::string Print(const Tree& tree) {
  std::string text;
  for (const auto& [name, content] : tree) {
    text += name + " (" + std::to_string(content.size()) + ") ";
  }
  return text;
}

Trial::Trial(const Operation& tried) : operation(tried) {
  Vx::SetDebugSink([](const char*, std::size_t) {});
  Prepare();
  before = stage.Look();
  const Outcome outcome = Describe(Catch([this] { operation.run(stage); }));
  EXPECT_EQ(outcome.failure, "");
  after = stage.Look();
  descriptors = CountDescriptors();
}

Trial::~Trial() {
  Vx::SetDebugSink(nullptr);
}

void Trial::Prepare() const {
  stage.Clear();
  operation.prepare(stage);
}

bool Trial::IsSound(const Tree& tree) const {
  return tree == before || tree == after || (operation.afterKill && operation.afterKill(tree));
}

void Trial::CheckAfter(const Outcome& outcome, bool canRemove, bool canUndo) const {
  EXPECT_FALSE(outcome.wrongResult) << outcome.failure;
  EXPECT_EQ(CountDescriptors(), descriptors) << outcome.failure;
  if (outcome.failure.empty()) {
    const Tree tree = stage.Look();
    EXPECT_TRUE((canRemove ? tree : WithoutTemporaries(tree)) == after)
        << "reported as done: " << Print(tree);
  } else {
    SCOPED_TRACE(outcome.failure);
    CheckTree(canUndo ? operation.afterFailure : operation.afterKill, canRemove);
  }
  CheckAgain();
}

void Trial::CheckTree(const Operation::Allows& allows, bool canRemove) const {
  const Tree all = stage.Look();
  const Tree tree = canRemove ? all : WithoutTemporaries(all);
  EXPECT_TRUE(tree == before || tree == after || (allows && allows(tree))) << Print(all);
}

void Trial::CheckAgain() const {
  const bool isBefore = stage.Look() == before;
  if (!operation.again && !isBefore) return;
  const auto& work = operation.again ? operation.again : operation.run;
  EXPECT_EQ(Describe(Catch([&] { work(stage); })).failure, "") << "the next run";
  const Tree tree = stage.Look();
  EXPECT_TRUE(tree == after) << "after the next run: " << Print(tree);
  EXPECT_EQ(CountDescriptors(), descriptors) << "after the next run";
}

}  // namespace Tests

#pragma once

#include <cerrno>
#include <exception>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/proof/Operation.h"
#include "tests/support/FileFault.h"
#include "tests/support/SleepRecord.h"

namespace Tests {

/// Whether the exhaustive form of the proofs is wanted (`./test --deep`), not the sampled one.
[[nodiscard]] bool IsDeep();

/// While it lives, the system is as this one, or can't swap or move names in one step, or has
/// neither files without a name nor walks along a whole path.
class OtherSystem final {
 public:
  enum Kind { None, WithoutSwap, WithoutUnnamed };
  static constexpr Kind All[] = {None, WithoutSwap, WithoutUnnamed};
  explicit OtherSystem(Kind kind)
      : noSwap(CallRename2, EINVAL, 0, kind == WithoutSwap ? FileFault::Always : 0),
        noUnnamed(CallOpenUnnamed, EOPNOTSUPP, 0, kind == WithoutUnnamed ? FileFault::Always : 0),
        noWalk(CallOpenBeneath, ENOSYS, 0, kind == WithoutUnnamed ? FileFault::Always : 0) {}

 private:
  const FileFault noSwap;
  const FileFault noUnnamed;
  const FileFault noWalk;
};

/// Counts a run under a fault, or a state that was checked; the sum is shown at the end.
void CountPoint(const char* family);

/// What a run ended with.
struct Outcome {
  bool struck = false;  ///< whether the fault did
  std::string failure;  ///< the exception and its causes, "" if there was none
  bool outOfMemory = false;
  bool wrongResult = false;
  std::set<int> systemErrors;  ///< that the exceptions tell
};

/// Whatever `work` throws.
[[nodiscard]] std::exception_ptr Catch(const std::function<void()>& work) noexcept;
[[nodiscard]] Outcome Describe(const std::exception_ptr& exception);

/// The tree without the temporary files that a kill may leave until the next run.
[[nodiscard]] Tree WithoutTemporaries(Tree tree);
/// The words of a name, as a part of a test's name.
[[nodiscard]] std::string ToTestName(std::string name);
/// The paths, with the size of each content.
[[nodiscard]] std::string Print(const Tree& tree);

/// One operation on a stage of its own, and what has to hold after each run.
class Trial final {
 public:
  explicit Trial(const Operation& tried);
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;
  ~Trial();

  /// Clears the stage, prepares it, and runs the operation under the fault that `plant` makes.
  template <class Plant>
  [[nodiscard]] Outcome Run(Plant plant) const {
    Prepare();
    std::exception_ptr thrown;
    bool struck = false;
    {
      const auto fault = plant();
      thrown = Catch([this] { operation.run(stage); });
      if constexpr (requires { fault.HasStruck(); }) struck = fault.HasStruck();
    }
    Outcome outcome = Describe(thrown);
    outcome.struck = struck;
    return outcome;
  }

  void Prepare() const;
  /// The old state or the new one, nothing left open or lying about, and the next run succeeds.
  /// Where files can't be removed, temporary ones may stay until then.
  /// Where calls fail from then on, what was begun may not be undone.
  void CheckAfter(const Outcome& outcome, bool canRemove = true, bool canUndo = true) const;
  void CheckAfterKill() const {
    CheckTree(operation.afterKill, false);
    CheckAgain();
  }
  /// A tree that a kill or a power cut may leave.
  [[nodiscard]] bool IsSound(const Tree& tree) const;
  void CheckAgain() const;

  const Operation& operation;
  const Stage stage;
  Tree before;
  Tree after;

 private:
  void CheckTree(const Operation::Allows& allows, bool canRemove) const;

  const PretendedCalls noDisk{CallSync | CallSyncData};
  const SleepRecord noSleep;
  std::size_t descriptors = 0;
};

}  // namespace Tests

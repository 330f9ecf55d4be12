// Each operation under each allocation that fails, each system call that fails, and each kill.
// Sampled unless exhaustive proofs are wanted: which errors are tried, and on which systems.

#include <cerrno>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest-spi.h>

#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "tests/proof/Trial.h"
#include "tests/support/AllocationFault.h"

namespace Tests {
namespace {

// Runs the operation under fault number 0, 1, and so on, until one does not strike. `check` gets
// each outcome. Stops at the first number that is wrong.
template <class Plant, class Check>
void Sweep(const char* family, const Trial& trial, Plant plant, Check check) {
  bool struck = true;
  for (unsigned int number = 0; struck && !testing::Test::HasFailure(); ++number) {
    SCOPED_TRACE("fault " + std::to_string(number));
    const Outcome outcome = trial.Run([&] { return plant(number); });
    struck = outcome.struck;
    EXPECT_TRUE(struck || outcome.failure.empty()) << outcome.failure;
    check(outcome);
    CountPoint(family);
  }
}

void FailAllocations(const Trial& trial) {
  using Reach = AllocationFault::Reach;
  for (const Reach reach : {Reach::New, Reach::NewAndMalloc}) {
    for (const int times : {1, AllocationFault::Always}) {
      SCOPED_TRACE(times == 1 ? "one allocation fails" : "all fail from then on");
      const auto plant = [&](unsigned int number) {
        return AllocationFault(static_cast<int>(number) + 1, times, reach);
      };
      Sweep("failing allocations", trial, plant, [&](const Outcome& outcome) {
        // What is left to be told of a failure may need memory, too.
        EXPECT_TRUE(outcome.failure.empty() || times != 1 || outcome.outOfMemory)
            << outcome.failure;
        // Without memory what can't be removed has to stay until the next run.
        trial.CheckAfter(outcome, times == 1 && !outcome.failure.empty());
      });
    }
  }
}

struct Error {
  int code;
  unsigned int times;
  const char* name;
};

// The first three are always tried, and the first alone on other systems than this one.
constexpr Error errors[] = {{EIO, 1, "EIO"},
                            {ENOSPC, FileFault::Always, "ENOSPC from then on"},
                            {EINTR, 1, "EINTR"},
                            {EIO, FileFault::Always, "EIO from then on"},
                            {ENOSPC, 1, "ENOSPC"},
                            {EACCES, 1, "EACCES"},
                            {EACCES, FileFault::Always, "EACCES from then on"},
                            {EROFS, 1, "EROFS"},
                            {EROFS, FileFault::Always, "EROFS from then on"}};

constexpr unsigned int callsThatAreInterrupted = CallRead | CallWrite | CallClose | CallOpen |
                                                 CallOpenUnnamed | CallOpenBeneath | CallSync |
                                                 CallSyncData | CallLock | CallSize;

void FailCalls(const Trial& trial) {
  for (const OtherSystem::Kind kind : OtherSystem::All) {
    for (const Error& error : errors) {
      if (!IsDeep() && &error - errors > (kind == OtherSystem::None ? 2 : 0)) continue;
      SCOPED_TRACE(error.name + (", system " + std::to_string(kind)));
      const OtherSystem system(kind);
      const unsigned int calls = error.code == EINTR ? callsThatAreInterrupted : CallEach;
      const auto plant = [&](unsigned int number) {
        return FileFault(calls, error.code, number, error.times);
      };
      Sweep("failing calls", trial, plant, [&](const Outcome& outcome) {
        if (error.code == EINTR) {
          EXPECT_EQ(outcome.failure, "");
        }
        // A refusal may have passed when its reason is asked for.
        const bool mayPass = error.times == 1 && (error.code == EACCES || error.code == EROFS);
        // An end that can't be read is a state of the archive, not an error that is passed on.
        const bool tellsError = outcome.systemErrors.contains(error.code) ||
                                outcome.failure == "IOException: Unknown." ||
                                outcome.failure.ends_with("its end can't be read.");
        EXPECT_TRUE(outcome.failure.empty() || mayPass || tellsError) << outcome.failure;
        // What can't be removed stays until it can.
        trial.CheckAfter(outcome, false, error.times == 1);
      });
    }
  }
}

// Runs `work` in a process that is killed before its system call number `skip`. Gives whether there
// was such a call.
bool KillBefore(unsigned int skip, const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    const FileFault fault(CallEach, FileFault::Kill, skip);
    ::_exit(Catch(work) == nullptr ? 0 : 1);
  }
  int result = -1;
  EXPECT_EQ(::waitpid(child, &result, 0), child);
  const bool killed = WIFSIGNALED(result) && WTERMSIG(result) == SIGKILL;
  EXPECT_TRUE(killed || result == 0) << result;
  return killed;
}

void Kill(const Trial& trial) {
  for (const OtherSystem::Kind kind : OtherSystem::All) {
    SCOPED_TRACE("system " + std::to_string(kind));
    const OtherSystem system(kind);
    bool killed = true;
    for (unsigned int skip = 0; killed && !testing::Test::HasFailure(); ++skip) {
      SCOPED_TRACE("before call " + std::to_string(skip));
      trial.Prepare();
      killed = KillBefore(skip, [&] { trial.operation.run(trial.stage); });
      trial.CheckAfterKill();
      CountPoint("kills");
    }
  }
}

class EachOperation : public testing::TestWithParam<Operation> {
 protected:
  const Trial trial{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Proof, EachOperation, testing::ValuesIn(AllOperations()),
                         [](const auto& parameter) { return ToTestName(parameter.param.name); });

TEST_P(EachOperation, SurvivesWantOfMemory) {
  FailAllocations(trial);
}

TEST_P(EachOperation, SurvivesFailingCalls) {
  FailCalls(trial);
}

TEST_P(EachOperation, SurvivesKills) {
  Kill(trial);
}

TEST_P(EachOperation, ReportsAFailedSyncWherePowerCutsTakeNothingBack) {
  // A transaction goes on where only the backup may be lost, or come back.
  if (!GetParam().durable || GetParam().afterFailure) return;
  for (const OtherSystem::Kind kind : OtherSystem::All) {
    const OtherSystem system(kind);
    Sweep(
        "failing syncs", trial,
        [](unsigned int number) { return FileFault(CallSync | CallSyncData, EIO, number, 1); },
        [](const Outcome& outcome) { EXPECT_EQ(outcome.failure.empty(), !outcome.struck); });
  }
}

TEST_P(EachOperation, CarriesOnAfterShortTransfers) {
  for (const std::size_t most : {1U, 1000U}) {
    const Outcome outcome = trial.Run([most] { return PieceLimit(most); });
    EXPECT_EQ(outcome.failure, "");
    trial.CheckAfter(outcome);
  }
}

// An operation that empties the file before it has all it needs.
const Operation careless = {
    .name = "careless",
    .prepare = [](const Stage& stage) { stage.Write("f", "old"); },
    .run =
        [](const Stage& stage) {
          using namespace Larkspan::Common::IO;
          FileOBinaryChannel file(stage.file, false, FileShare::NoShare);
          const Vx::UniString text(u"a text that is too long to be kept in the object itself");
          file.Write("new", 3);
          file.Close();
        }};

TEST(ProofOfFaults, FindsWhatLosesAFile) {
  const Trial trial(careless);
  for (const auto proof : {FailAllocations, FailCalls, Kill}) {
    testing::TestPartResultArray found;
    {
      const testing::ScopedFakeTestPartResultReporter reporter(&found);
      proof(trial);
    }
    EXPECT_GT(found.size(), 0);
  }
}

}  // namespace
}  // namespace Tests

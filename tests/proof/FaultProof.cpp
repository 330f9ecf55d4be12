#include <algorithm>
#include <cctype>
#include <cerrno>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tests/proof/Trial.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/MallocWatch.h"
#include "tests/support/SleepRecord.h"

namespace Tests {
namespace {

class EachOperation : public testing::TestWithParam<Operation> {
 protected:
  // Runs the operation under fault number 0, 1, and so on, until one does not strike. `check` gets
  // each outcome. Stops at the first number that is wrong.
  template <class Plant, class Check>
  void Sweep(Plant plant, Check check) {
    bool struck = true;
    for (unsigned int number = 0; struck && !HasFailure(); ++number) {
      SCOPED_TRACE("fault " + std::to_string(number));
      const Outcome outcome = trial.Run([&] { return plant(number); });
      struck = outcome.struck;
      EXPECT_TRUE(struck || outcome.failure.empty()) << outcome.failure;
      check(outcome);
      ++points;
    }
  }
  ~EachOperation() override { RecordProperty("points", points); }

  const Trial trial{GetParam()};
  const SleepRecord noSleep;
  int points = 0;
};

INSTANTIATE_TEST_SUITE_P(Proof, EachOperation, testing::ValuesIn(AllOperations()),
                         [](const auto& parameter) {
                           std::string name = parameter.param.name;
                           std::replace_if(
                               name.begin(), name.end(), [](char c) { return !std::isalnum(c); },
                               '_');
                           return name;
                         });

bool TellsWantOfMemory(const Outcome& outcome) {
  // These don't tell any reason yet.
  return outcome.outOfMemory ||
         outcome.failure.starts_with("ArchiveException: Failed to update archive file: ") ||
         outcome.failure.starts_with("FileTransactionException: Failed to ");
}

TEST_P(EachOperation, SurvivesWantOfMemory) {
  using Reach = AllocationFault::Reach;
  for (const Reach reach : {Reach::New, Reach::NewAndMalloc}) {
    for (const int times : {1, AllocationFault::Always}) {
      SCOPED_TRACE(times == 1 ? "one allocation fails" : "all fail from then on");
      Sweep(
          [&](unsigned int number) {
            return AllocationFault(static_cast<int>(number) + 1, times, reach);
          },
          [&](const Outcome& outcome) {
            // What is left to be told of a failure may need memory, too.
            EXPECT_TRUE(outcome.failure.empty() || times != 1 || TellsWantOfMemory(outcome))
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

constexpr Error errors[] = {{EIO, 1, "EIO"},
                            {ENOSPC, FileFault::Always, "ENOSPC from then on"},
                            {EINTR, 1, "EINTR"},
                            {EIO, FileFault::Always, "EIO from then on"},
                            {ENOSPC, 1, "ENOSPC"},
                            {EACCES, 1, "EACCES"},
                            {EACCES, FileFault::Always, "EACCES from then on"},
                            {EROFS, 1, "EROFS"},
                            {EROFS, FileFault::Always, "EROFS from then on"}};

constexpr unsigned int CallsThatAreInterrupted = CallRead | CallWrite | CallClose | CallOpen |
                                                 CallOpenUnnamed | CallOpenBeneath | CallSync |
                                                 CallSyncData | CallLock | CallSize;

constexpr OtherSystem::Kind systems[] = {OtherSystem::None, OtherSystem::WithoutSwap,
                                         OtherSystem::WithoutUnnamed};

TEST_P(EachOperation, SurvivesFailingCalls) {
  for (const OtherSystem::Kind kind : systems) {
    for (const Error& error : errors) {
      if (!IsDeep() && &error - errors > (kind == OtherSystem::None ? 2 : 0)) continue;
      SCOPED_TRACE(error.name + (", system " + std::to_string(kind)));
      const OtherSystem system(kind);
      // What can't be removed stays until it can.
      Sweep(
          [&](unsigned int number) {
            const unsigned int calls = error.code == EINTR ? CallsThatAreInterrupted : CallEach;
            return FileFault(calls, error.code, number, error.times);
          },
          [&](const Outcome& outcome) {
            if (error.code == EINTR) {
              EXPECT_EQ(outcome.failure, "");
            }
            trial.CheckAfter(outcome, false);
          });
    }
  }
}

TEST_P(EachOperation, ReportsAFailedSyncWherePowerCutsTakeNothingBack) {
  // A transaction goes on where only the backup may be lost, or come back.
  if (!GetParam().durable || GetParam().afterFailure) return;
  for (const OtherSystem::Kind kind : systems) {
    const OtherSystem system(kind);
    Sweep([](unsigned int number) { return FileFault(CallSync | CallSyncData, EIO, number, 1); },
          [&](const Outcome& outcome) { EXPECT_EQ(outcome.failure.empty(), !outcome.struck); });
  }
}

TEST_P(EachOperation, CarriesOnAfterShortTransfers) {
  for (const std::size_t most : {1U, 1000U}) {
    trial.Prepare();
    Outcome outcome;
    {
      const PieceLimit limit(most);
      outcome = Describe(Catch([this] { GetParam().run(trial.stage); }));
    }
    EXPECT_EQ(outcome.failure, "");
    trial.CheckAfter(outcome);
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

TEST_P(EachOperation, SurvivesKills) {
  for (const OtherSystem::Kind kind : systems) {
    SCOPED_TRACE("system " + std::to_string(kind));
    const OtherSystem system(kind);
    bool killed = true;
    for (unsigned int skip = 0; killed && !HasFailure(); ++skip) {
      SCOPED_TRACE("before call " + std::to_string(skip));
      trial.Prepare();
      killed = KillBefore(skip, [this] { GetParam().run(trial.stage); });
      trial.CheckAfterKill();
      ++points;
    }
  }
}

}  // namespace
}  // namespace Tests

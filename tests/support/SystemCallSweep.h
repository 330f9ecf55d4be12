#pragma once

#include <cerrno>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"

namespace Tests {

/// Runs `work` again and again, under the fault that `plant` makes of each number from 0 on, until
/// one does not strike, though the first must; `check` gets what each run failed with and whether
/// its fault did strike.
template <class Plant, class Work, class Check>
void FailEach(Plant plant, Work work, Check check) {
  bool struck = true;
  for (unsigned int number = 0; struck; ++number) {
    std::string failure;
    {
      const auto fault = plant(number);
      failure = FailureOf(work);
      struck = fault.HasStruck();
    }
    EXPECT_TRUE(struck || number > 0) << "There is nothing that could fail.";
    check(failure, struck);
  }
}

/// With each of the system calls `calls` failing by EIO.
template <class Work, class Check>
void FailEachCall(unsigned int calls, Work work, Check check) {
  FailEach([calls](unsigned int skip) { return FileFault(calls, EIO, skip, 1); }, work, check);
}

/// With each of its allocations failing.
template <class Work, class Check>
void FailEachAllocation(Work work, Check check) {
  FailEach([](unsigned int skip) { return AllocationFault(static_cast<int>(skip) + 1); }, work,
           check);
}

/// Runs `work`, which must not fail, in a process that is killed before its system call number
/// `skip`. Gives whether there was such a call.
template <class Work>
bool KillBeforeCall(unsigned int skip, Work work) {
  const pid_t child = ::fork();
  if (child == 0) {
    const FileFault fault(CallAny, FileFault::Kill, skip);
    ::_exit(FailureOf(work).empty() ? 0 : 1);
  }
  int result = -1;
  EXPECT_EQ(::waitpid(child, &result, 0), child);
  const bool killed = WIFSIGNALED(result) && WTERMSIG(result) == SIGKILL;
  EXPECT_TRUE(killed || result == 0) << result;
  return killed;
}

}  // namespace Tests

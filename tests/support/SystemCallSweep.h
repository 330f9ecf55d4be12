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

/// Runs `work` again and again, with one of its system calls `calls` failing by EIO, until it has
/// no further one; `check` gets what each run failed with and whether its call did fail.
template <class Work, class Check>
void FailEachCall(unsigned int calls, Work work, Check check) {
  bool struck = true;
  for (unsigned int skip = 0; struck; ++skip) {
    std::string failure;
    {
      const FileFault fault(calls, EIO, skip, 1);
      failure = FailureOf(work);
      struck = fault.HasStruck();
    }
    check(failure, struck);
  }
}

/// The same with each of its allocations failing.
template <class Work, class Check>
void FailEachAllocation(Work work, Check check) {
  bool struck = true;
  for (int n = 1; struck; ++n) {
    std::string failure;
    {
      const Larkspan::Testing::AllocationFault fault(n);
      failure = FailureOf(work);
      struck = fault.HasFired();
    }
    check(failure, struck);
  }
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

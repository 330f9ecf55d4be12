#pragma once

#include <cerrno>
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace Tests {

/// Runs `work` in a process of its own, for which the system has no call number `call` (ENOSYS).
/// `work` returns whether all was as it should be. False, with nothing run, where a process can't
/// give calls up.
template <class Work>
[[nodiscard]] bool RunWithoutSystemCall(long call, Work work) {
  constexpr int unsupported = 77;
  const pid_t child = ::fork();
  if (child == 0) {
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned int>(call), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(std::size(code)), code};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
      ::_exit(unsupported);
    }
    ::_exit(work() ? 0 : 1);
  }
  int result = -1;
  EXPECT_EQ(::waitpid(child, &result, 0), child);
  if (WIFEXITED(result) && WEXITSTATUS(result) == unsupported) return false;
  EXPECT_EQ(result, 0);
  return true;
}

}  // namespace Tests

#include "tests/support/SleepRecord.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

extern "C" int nanosleep(const timespec* time, timespec* left) {
  if (Tests::SleepRecord::current == nullptr) {
    return static_cast<int>(::syscall(SYS_nanosleep, time, left));
  }
  Tests::SleepRecord::current->sleeps.push_back(time->tv_sec * 1000 + time->tv_nsec / 1000000);
  return 0;
}

#include "foundation/Vx/Thread.h"

#include <chrono>
#include <ctime>
#include <thread>

namespace Vx {

void Thread::Sleep(unsigned int milliseconds, bool full) {
  if (full) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return;
  }
  timespec time{};
  time.tv_sec = static_cast<std::time_t>(milliseconds / 1000U);
  time.tv_nsec = static_cast<long>(milliseconds % 1000U) * 1000000L;
  nanosleep(&time, nullptr);
}

}  // namespace Vx

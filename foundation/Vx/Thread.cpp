#include "foundation/Vx/Thread.h"

#include <chrono>
#include <thread>

namespace Vx {

void Thread::Sleep(unsigned int milliseconds, bool) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace Vx

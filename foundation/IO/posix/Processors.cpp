#include "foundation/IO/Processors.h"

#include <algorithm>
#include <sched.h>
#include <unistd.h>

namespace IO {

unsigned int GetProcessorCount() noexcept {
#ifdef CPU_COUNT
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof(allowed), &allowed) == 0) {
    return static_cast<unsigned int>(std::max(CPU_COUNT(&allowed), 1));
  }
#endif
  return static_cast<unsigned int>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L));
}

}  // namespace IO

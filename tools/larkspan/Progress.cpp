#include "tools/larkspan/Progress.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/IO/StandardStream.h"

namespace Tool {
namespace {

constexpr std::chrono::milliseconds FirstDelay(1000);
constexpr std::chrono::milliseconds Interval(200);

}  // namespace

Progress::Progress(bool wanted) noexcept
    : enabled(wanted && IsScreen()), nextTime(Clock::now() + FirstDelay) {}

bool Progress::IsScreen() noexcept {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  const char* const terminal = std::getenv("TERM");
  const bool obeys = terminal != nullptr && *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
  return obeys && ::IO::IsTerminal(::IO::StandardStream::Error);
}

void Progress::Clear() noexcept {
  if (!shown) return;
  std::fputs("\r\x1b[K", stderr);
  shown = false;
}

void Progress::Disable() noexcept {
  Clear();
  enabled = false;
}

void Progress::ShowIfDue() {
  const Clock::time_point now = Clock::now();
  if (now < nextTime) return;
  nextTime = now + Interval;
  constexpr double mebibyte = 1 << 20;
  std::fprintf(stderr, "\rlarkspan: %llu done, %.1f MiB\x1b[K", itemCount,
               static_cast<double>(byteCount) / mebibyte);
  shown = true;
}

}  // namespace Tool

#include "tools/larkspan/Progress.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/IO/StandardStream.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

constexpr std::chrono::milliseconds FirstDelay(1000);
constexpr std::chrono::milliseconds Interval(200);
// Narrow enough for a terminal of 80 columns: a line that is broken can't be taken away.
constexpr std::size_t LineWidth = 79;

// The facts and as much of the name's end as there is room for.
std::string CutName(const std::string& facts, const std::string& name) {
  const std::size_t room = LineWidth - std::min(facts.size(), LineWidth);
  if (name.size() <= room) return facts + name;
  constexpr std::size_t dots = 3;
  std::size_t first = name.size() - (room - std::min(room, dots));
  const auto isContinuation = [](char byte) { return (byte & 0xC0) == 0x80; };
  while (first < name.size() && isContinuation(name[first])) ++first;
  return facts + "..." + name.substr(first);
}

}  // namespace

Progress::Progress(bool wanted) noexcept
    : enabled(wanted && IsScreen()), start(Clock::now()), nextTime(start + FirstDelay) {}

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

void Progress::BeginAll(unsigned __int64 weight) noexcept {
  start = Clock::now();
  total = weight;
  done = itemWeight = byteCount = 0;
}

void Progress::BeginItem(Vx::UniString::View name, unsigned __int64 weight, unsigned __int64 size) {
  done += itemWeight;
  itemWeight = weight;
  itemSize = size;
  itemBytes = 0;
  ++itemCount;
  if (!enabled) return;
  itemName = ToPrintable(name);
  ShowIfDue();
}

void Progress::ShowIfDue() {
  const Clock::time_point now = Clock::now();
  if (now < nextTime) return;
  nextTime = now + Interval;
  const double seconds = std::chrono::duration<double>(now - start).count();
  const std::string line = "\r" + CutName(Describe(seconds), itemName) + "\x1b[K";
  std::fputs(line.c_str(), stderr);
  shown = true;
}

double Progress::GetShare() const noexcept {
  const double part = itemSize == 0 ? 1
                                    : static_cast<double>(std::min(itemBytes, itemSize)) /
                                          static_cast<double>(itemSize);
  const double weight = static_cast<double>(done) + part * static_cast<double>(itemWeight);
  return std::min(1.0, weight / static_cast<double>(total));
}

std::string Progress::Describe(double seconds) const {
  constexpr double mebibyte = 1 << 20;
  const double size = static_cast<double>(byteCount) / mebibyte;
  char text[120];
  if (total == 0) {
    std::snprintf(text, sizeof(text), "larkspan: %llu done, %.1f MiB, %.1f MiB/s: ", itemCount,
                  size, size / seconds);
    return text;
  }
  const double share = GetShare();
  const double most = 359999;  // 99:59:59
  const auto left =
      static_cast<unsigned int>(share == 0 ? most : std::min(most, seconds * (1 - share) / share));
  std::snprintf(text, sizeof(text),
                "larkspan: %3.0f %%, %.1f MiB/s, %02u:%02u:%02u left: ", share * 100,
                size / seconds, left / 3600, left / 60 % 60, left % 60);
  return text;
}

}  // namespace Tool

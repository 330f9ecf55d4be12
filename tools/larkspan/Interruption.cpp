#include "tools/larkspan/Interruption.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "tools/larkspan/Failure.h"
#include "tools/larkspan/UnfinishedFile.h"

namespace Tool {
namespace {

constinit std::atomic<bool> signalCame = false;
static_assert(std::atomic<bool>::is_always_lock_free, "it is set by a handler of signals");

extern "C" void NoteSignal(int) {
  signalCame = true;
}

// Leaves the work a grace period for a clean exit.
[[noreturn]] void Watch() {
  constexpr std::chrono::milliseconds interval(50);
  constexpr std::chrono::milliseconds patience(500);
  while (!signalCame) std::this_thread::sleep_for(interval);
  std::this_thread::sleep_for(patience);
  RemoveUnfinishedFile();
  std::_Exit(static_cast<int>(ExitCode::Interrupted));
}

}  // namespace

void InstallInterruption() noexcept {
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, NoteSignal);
#ifdef SIGHUP
  std::signal(SIGHUP, NoteSignal);
#endif
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);
#endif
#ifdef SIGXFSZ
  std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void CheckInterruption() {
  if (signalCame) throw Interrupted();
}

void EndWhereBlocked() {
  static const bool watched = (std::thread(Watch).detach(), true);
  static_cast<void>(watched);
}

}  // namespace Tool

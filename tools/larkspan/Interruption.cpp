#include "tools/larkspan/Interruption.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/Failure.h"

namespace Tool {
namespace {

constinit std::atomic<bool> signalCame = false;
static_assert(std::atomic<bool>::is_always_lock_free, "it is set by a handler of signals");

extern "C" void NoteSignal(int) {
  signalCame = true;
}

// Both outlive the watching thread, which nobody waits for.
constinit std::mutex unfinishedMutex;
constinit const ::IO::Location* unfinished = nullptr;

void Remove(const ::IO::Location& location) noexcept {
  ::IO::fileSystem.Delete(location, ::IO::DataSafety::None, ::IO::AccessDeniedTreatment::Report);
}

// The work has a moment to end in its own way.
[[noreturn]] void Watch() {
  constexpr std::chrono::milliseconds interval(50);
  constexpr std::chrono::milliseconds patience(500);
  while (!signalCame) std::this_thread::sleep_for(interval);
  std::this_thread::sleep_for(patience);
  const std::lock_guard guard(unfinishedMutex);
  if (unfinished != nullptr) Remove(*unfinished);
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
}

void CheckInterruption() {
  if (signalCame) throw Interrupted();
}

void EndWhereBlocked() {
  static const bool watched = (std::thread(Watch).detach(), true);
  static_cast<void>(watched);
}

UnfinishedFile::UnfinishedFile(const ::IO::Location& location) : place(location) {
  const std::lock_guard guard(unfinishedMutex);
  unfinished = &place;
}

UnfinishedFile::~UnfinishedFile() {
  const std::lock_guard guard(unfinishedMutex);
  unfinished = nullptr;
  if (!kept) Remove(place);
}

}  // namespace Tool

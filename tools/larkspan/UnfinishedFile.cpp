#include "tools/larkspan/UnfinishedFile.h"

#include <mutex>

#include "foundation/IO/FileSystem.h"

namespace Tool {
namespace {

// Both outlive the thread that watches for interruptions, which nobody joins.
constinit std::mutex unfinishedMutex;
constinit const ::IO::Location* unfinished = nullptr;

void Remove(const ::IO::Location& location) noexcept {
  ::IO::fileSystem.Delete(location, ::IO::DataSafety::None, ::IO::AccessDeniedTreatment::Report);
}

}  // namespace

UnfinishedFile::UnfinishedFile(const ::IO::Location& file) : location(file) {
  const std::lock_guard guard(unfinishedMutex);
  unfinished = &location;
}

UnfinishedFile::~UnfinishedFile() {
  const std::lock_guard guard(unfinishedMutex);
  unfinished = nullptr;
  if (!kept) Remove(location);
}

void RemoveUnfinishedFile() noexcept {
  unfinishedMutex.lock();  // never unlocked
  if (unfinished != nullptr) Remove(*unfinished);
}

}  // namespace Tool

#include "Larkspan/Archive/InputWindow.h"

#include <algorithm>
#include <cstring>

namespace Larkspan::Archive {

InputWindow::InputWindow(const RandomInput& input, unsigned __int64 offset, unsigned int bufferSize)
    : store(input), capacity(bufferSize), buffer(Vx::NewByteArray(bufferSize)), next(offset) {}

InputWindow::~InputWindow() = default;

unsigned int InputWindow::Read(char* target, unsigned int size, ReadSomeModeSelector) {
  if (start == end && size >= capacity) {
    const unsigned int count = store.ReadAt(next, target, size);
    next += count;
    if (record != nullptr) record->append(target, count);
    return count;
  }
  const std::string_view bytes = Peek();
  const unsigned int count = std::min(size, static_cast<unsigned int>(bytes.size()));
  if (count != 0) std::memcpy(target, bytes.data(), count);
  if (record != nullptr) record->append(target, count);
  Advance(count);
  return count;
}

unsigned __int64 InputWindow::GetAvailable() const {
  const unsigned __int64 position = GetPosition();
  return position < store.GetSize() ? store.GetSize() - position : 0;
}

std::string_view InputWindow::Peek() {
  if (start == end) {
    start = end = 0;
    end = store.ReadAt(next, buffer.get(), capacity);
    next += end;
  }
  return {buffer.get() + start, end - start};
}

unsigned __int64 InputWindow::Skip(unsigned __int64 size) {
  const unsigned __int64 passed = std::min(size, GetAvailable());
  if (passed <= end - start) {
    start += static_cast<unsigned int>(passed);
  } else {
    next = GetPosition() + passed;
    start = end = 0;
  }
  return passed;
}

}  // namespace Larkspan::Archive

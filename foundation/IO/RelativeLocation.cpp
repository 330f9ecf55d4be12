#include "foundation/IO/RelativeLocation.h"

#include <utility>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/PathNames.h"
#include "foundation/IO/Status.h"

namespace IO {

RelativeLocation::RelativeLocation(Vx::UniString::View text) noexcept {
  status = GuardMemory(StatusOutOfMemory, [&] {
    const bool relative = text.empty() || !PathNames::IsSeparator(text.front());
    if (relative && PathNames::AppendText(path, 0, text)) return StatusSuccess;
    return StatusInvalidLocation;
  });
  if (status != 0) path.Clear();
}

RelativeLocation::RelativeLocation(const RelativeLocation& source) noexcept {
  *this = source;
}

RelativeLocation::RelativeLocation(RelativeLocation&& source) noexcept = default;

RelativeLocation& RelativeLocation::operator=(const RelativeLocation& source) noexcept {
  if (this == &source) return *this;
  status = GuardMemory(StatusOutOfMemory, [&] {
    path.Assign(source.path.GetView());
    return source.status;
  });
  if (status != 0) path.Clear();
  return *this;
}

RelativeLocation& RelativeLocation::operator=(RelativeLocation&& source) noexcept = default;

RelativeLocation::~RelativeLocation() = default;

unsigned int RelativeLocation::GetLength() const noexcept {
  return PathNames::CountNames(path, 0);
}

int RelativeLocation::GetName(unsigned int index, Name& name) const noexcept {
  if (index >= GetLength()) return StatusInvalidArgument;
  unsigned int start = 0;
  for (unsigned int passed = 0; passed < index; ++passed) {
    start = path.FindFirst(PathNames::Separator, start) + 1;
  }
  const unsigned int end = path.FindFirst(PathNames::Separator, start);
  return GuardMemory(StatusOutOfMemory, [&] {
    const unsigned int count = end == Vx::NotFound ? Vx::ToEnd : end - start;
    name.GetText().Assign(path.GetView().substr(start, count));
    return StatusSuccess;
  });
}

}  // namespace IO

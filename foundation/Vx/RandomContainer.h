#pragma once

#include "foundation/Vx/Container.h"

namespace Vx {

/// Base of the containers whose elements have the indexes from 0 to the size minus 1 and are
/// reached by index in constant time. The caller keeps an index in range.
template <class T>
class RandomContainer : public Container<T> {
 protected:
  RandomContainer() noexcept = default;
  ~RandomContainer() = default;
};

}  // namespace Vx

#pragma once

#include "foundation/Vx/VxException.h"

namespace Vx {

/// Stands for "no cause" where a cause can be given. It is never thrown and never shows in a
/// report.
class FOUNDATION_API NoCauseException final : public virtual VxException {
 public:
  NoCauseException() noexcept;
  ~NoCauseException() override;

  [[nodiscard]] const char* GetName() const noexcept override;
  [[nodiscard]] VxException* Clone() const override;
};

}  // namespace Vx

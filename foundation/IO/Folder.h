#pragma once

#include <vector>

#include "foundation/Export.h"
#include "foundation/IO/AccessDeniedTreatment.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Name.h"
#include "foundation/IO/OnNotFound.h"
#include "foundation/IO/Status.h"
#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/UniString.h"

namespace IO {

/// A folder, held while the object lives: its operations meet the same folder, whatever becomes of
/// its name. All of them report by status, and none throws. One thread at a time.
class FOUNDATION_API Folder final {
 public:
  using Names = std::vector<Vx::UniString, Vx::Allocator<Vx::UniString>>;

  Folder(const Location& location, OnNotFound onNotFound) noexcept;
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder();

  /// 0 if the folder is there, or if it is missing and that is ignored.
  [[nodiscard]] int GetStatus() const noexcept { return status; }

  /// Two files of the folder swap their names, durably. On failure both are under their own names.
  /// Whatever happens on the way, a kill or a power cut included, a complete file stands under
  /// `first` at all times.
  ///
  /// Where the file system can't swap names in one step, a kill can leave a file with a name that
  /// begins with `.exchange-` behind.
  [[nodiscard]] int Exchange(const Name& first, const Name& second,
                             AccessDeniedTreatment treatment) noexcept;

  /// The names of all items of the folder, in no order, replacing what `names` holds.
  [[nodiscard]] int GetNames(Names& names) const noexcept;

  /// Makes names that were made, changed or removed durable.
  [[nodiscard]] int Flush() noexcept;

 private:
  int status = 0;
  int descriptor = -1;
};

}  // namespace IO

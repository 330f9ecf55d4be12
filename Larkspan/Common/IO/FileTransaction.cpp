#include "Larkspan/Common/IO/FileTransaction.h"

namespace Larkspan::Common::IO {

FileTransaction::FileTransaction() noexcept = default;
FileTransaction::FileTransaction(const FileTransaction&) noexcept = default;
FileTransaction::~FileTransaction() = default;

// NOLINTNEXTLINE(misc-unconventional-assign-operator,modernize-use-equals-default): as declared.
const FileTransaction& FileTransaction::operator=(const FileTransaction&) noexcept {
  return *this;
}

}  // namespace Larkspan::Common::IO

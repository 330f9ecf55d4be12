#pragma once

#include <map>

#include "Larkspan/Archive/TreeFacts.h"
#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/IO/Attributes.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Archive {

/// The numbers that accounts of an archive have on this system: those of their names, and where
/// this system doesn't know a name, the archive's. Each name is looked up once.
class LARKSPAN_API LocalAccounts final {
 public:
  /// Sets owner and group of `attributes` to what the entry's headers tell. False, with nothing
  /// changed, if they tell nothing. Throws `Vx::OutOfMemoryException`.
  [[nodiscard]] bool Take(const Common::IO::ArchiveEntry& entry, ::IO::Attributes& attributes);
  /// The same of a folder.
  [[nodiscard]] bool Take(const TreeFacts::Folder& folder, ::IO::Attributes& attributes);

 private:
  using Known = std::map<Vx::UniString, unsigned int>;

  unsigned int FindUser(const TreeFacts::Account& account);
  unsigned int FindGroup(const TreeFacts::Account& account);

  Known users;
  Known groups;
};

}  // namespace Larkspan::Archive

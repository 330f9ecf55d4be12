#include "Larkspan/Archive/LocalAccounts.h"

#include "foundation/IO/Accounts.h"

namespace Larkspan::Archive {
namespace {

template <class Known>
unsigned int Find(Known& known, const TreeFacts::Account& account,
                  int (*find)(const Vx::String&, unsigned int*)) {
  if (account.name.IsEmpty()) return account.number;
  const auto [place, isNew] = known.try_emplace(account.name, account.number);
  unsigned int number = 0;
  if (isNew && find(Vx::String(account.name.ToUTF8()), &number) == 0) place->second = number;
  return place->second;
}

}  // namespace

unsigned int LocalAccounts::FindUser(const TreeFacts::Account& account) {
  return Find(users, account, ::IO::FindUser);
}

unsigned int LocalAccounts::FindGroup(const TreeFacts::Account& account) {
  return Find(groups, account, ::IO::FindGroup);
}

bool LocalAccounts::Take(const Common::IO::ArchiveEntry& entry, ::IO::Attributes& attributes) {
  TreeFacts::Account owner;
  TreeFacts::Account group;
  if (!TreeFacts::AccountFromText(entry.GetHeader(TreeFacts::OwnerHeader), owner) ||
      !TreeFacts::AccountFromText(entry.GetHeader(TreeFacts::GroupHeader), group)) {
    return false;
  }
  attributes.owner = FindUser(owner);
  attributes.group = FindGroup(group);
  return true;
}

bool LocalAccounts::Take(const TreeFacts::Folder& folder, ::IO::Attributes& attributes) {
  if (!folder.hasOwners) return false;
  attributes.owner = FindUser(folder.owner);
  attributes.group = FindGroup(folder.group);
  return true;
}

}  // namespace Larkspan::Archive

#include "Larkspan/Common/Containers/Properties.h"

#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::Containers {
namespace {

void CheckKey(const Vx::UniString& key) {
  if (key.IsEmpty()) throw Vx::IllegalArgumentException("Invalid key.", __FILE__, __LINE__);
}

}  // namespace

Properties::Properties() noexcept = default;
Properties::Properties(const Properties& source) = default;
Properties::~Properties() = default;
Properties& Properties::operator=(const Properties& source) = default;

bool Properties::operator==(const Properties& other) const {
  return this == &other || table.HasEqualPairs(other.table);
}

bool Properties::operator!=(const Properties& other) const {
  return !operator==(other);
}

unsigned int Properties::GetSize() const noexcept {
  return table.GetSize();
}

bool Properties::IsEmpty() const noexcept {
  return table.IsEmpty();
}

void Properties::Clear() noexcept {
  table.Clear();
}

bool Properties::HasProperty(const Vx::UniString& key) const {
  CheckKey(key);
  return table.Find(key) != nullptr;
}

Vx::UniString Properties::GetProperty(const Vx::UniString& key) const {
  CheckKey(key);
  return table.GetValue(key);
}

bool Properties::GetProperty(const Vx::UniString& key, Vx::UniString& value) const {
  CheckKey(key);
  return table.FindValue(key, value);
}

const Vx::UniString& Properties::GetProperty(const Vx::UniString& key,
                                             const Vx::UniString& defaultValue) const {
  CheckKey(key);
  const Table::HashEntry* const entry = table.Find(key);
  return entry == nullptr ? defaultValue : entry->value;
}

void Properties::SetProperty(const Vx::UniString& key, const Vx::UniString& value) {
  CheckKey(key);
  table.Put(key, value);
}

void Properties::RemoveProperty(const Vx::UniString& key) {
  CheckKey(key);
  table.Delete(key);
}

Properties::Iterator Properties::GetProperties() const& noexcept {
  return table.EnumeratePairs();
}

}  // namespace Larkspan::Common::Containers

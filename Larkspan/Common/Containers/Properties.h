#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/HashTable.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::Containers {

/// Named string values, in the order in which they came; a removal puts the last one in the place
/// of the removed. Names are never empty, values may be. Growing throws `Vx::OutOfMemoryException`.
///
/// Every operation with a key throws `Vx::IllegalArgumentException`, "Invalid key.", for an empty
/// one, and changes nothing then. Finding a key takes constant time on average.
class LARKSPAN_API Properties {
 public:
  using Table = Vx::HashTable<Vx::UniString, Vx::UniString>;
  using Iterator =
      Vx::ConstForwardIteratorBase<Table, Table::ConstPairIteratorState, Table::ConstAssoc>;

  Properties() noexcept;
  Properties(const Properties& source);
  ~Properties();
  /// Replaces all by the properties of `source`, in the same order. Running out of memory leaves
  /// the first of them.
  Properties& operator=(const Properties& source);

  /// Whether both have the same keys with the same values, in whatever order.
  [[nodiscard]] bool operator==(const Properties& other) const;
  [[nodiscard]] bool operator!=(const Properties& other) const;

  [[nodiscard]] unsigned int GetSize() const noexcept;
  [[nodiscard]] bool IsEmpty() const noexcept;
  /// Removes all and frees the memory.
  void Clear() noexcept;

  [[nodiscard]] bool HasProperty(const Vx::UniString& key) const;

  /// The value, or an empty text for a key that is not there.
  [[nodiscard]] Vx::UniString GetProperty(const Vx::UniString& key) const;

  /// Assigns the value and returns true; returns false, and leaves `value` alone, for a key that is
  /// not there.
  [[nodiscard]] bool GetProperty(const Vx::UniString& key, Vx::UniString& value) const;

  /// The value itself, or `defaultValue` itself for a key that is not there; nothing is copied.
  /// The reference to a value shows what the key is given later. It is good until anything is
  /// removed or this object goes; that to the default, as long as what the caller passed.
  [[nodiscard]] const Vx::UniString& GetProperty(const Vx::UniString& key,
                                                 const Vx::UniString& defaultValue) const;

  /// Replaces the value of a key in its place, or adds the key at the end. Running out of memory
  /// changes nothing.
  void SetProperty(const Vx::UniString& key, const Vx::UniString& value);

  /// A key that is not there is no failure. Running out of memory, if freeing memory needs some, is
  /// thrown when the property is gone.
  void RemoveProperty(const Vx::UniString& key);

  /// At the first property. Also stands in a range-based `for`:
  /// `for (const auto& [key, value] : properties.GetProperties())`. This object must outlive it
  /// unchanged.
  [[nodiscard]] Iterator GetProperties() const& noexcept;
  /// The iterator would outlive the object.
  void GetProperties() const&& = delete;

 private:
  Table table;
};

}  // namespace Larkspan::Common::Containers

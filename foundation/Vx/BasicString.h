#pragma once

#include <algorithm>
#include <compare>
#include <string>
#include <string_view>

#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/Types.h"

namespace Vx {

/// What the string of bytes and the string of 16-bit units share: a value of up to 2^31 - 1 units.
/// Counts and indexes are in units, and a count of `ToEnd` means to the end. An index past the end
/// counts as the end. Growing throws `OutOfMemoryException` and then leaves the text as it was.
template <class Unit>
class BasicString {
 public:
  using View = std::basic_string_view<Unit>;

  /// The most units that a text can have.
  static constexpr unsigned int MaxLength = 0x7FFFFFFFU;

  [[nodiscard]] unsigned int GetLength() const noexcept {
    return static_cast<unsigned int>(units.size());
  }
  [[nodiscard]] bool IsEmpty() const noexcept { return units.empty(); }

  /// The units, with a zero unit after the last. Valid until the text changes.
  [[nodiscard]] const Unit* GetBuffer() const noexcept { return units.c_str(); }
  [[nodiscard]] View GetView() const noexcept { return View(units); }

  /// The unit at `index`, which must lie inside the text.
  [[nodiscard]] Unit operator[](unsigned int index) const noexcept { return units[index]; }
  [[nodiscard]] Unit& operator[](unsigned int index) noexcept { return units[index]; }

  /// Makes room for `capacity` units in all.
  void Reserve(unsigned int capacity) { units.reserve(CheckedLength(capacity, 0)); }
  void Clear() noexcept { units.clear(); }

  void Assign(View source) {
    CheckedLength(source.size(), 0);
    units.assign(source);
  }
  void Append(View source) {
    CheckedLength(source.size(), units.size());
    units.append(source);
  }
  void Append(Unit unit) { Append(View(&unit, 1)); }

  /// Index of the first occurrence at or after `start`, or `NotFound`. An empty `pattern` is found
  /// at `start`, or at the end.
  [[nodiscard]] unsigned int FindFirst(View pattern, unsigned int start = 0) const noexcept {
    return ToIndex(GetView().find(pattern, std::min(start, GetLength())));
  }
  [[nodiscard]] unsigned int FindFirst(Unit unit, unsigned int start = 0) const noexcept {
    return ToIndex(GetView().find(unit, start));
  }
  [[nodiscard]] bool Contains(View pattern) const noexcept {
    return FindFirst(pattern) != NotFound;
  }
  [[nodiscard]] bool Contains(Unit unit) const noexcept { return FindFirst(unit) != NotFound; }

  /// Replaces every `from` by `to`, from left to right; what was put in is not searched again.
  void ReplaceAll(Unit from, Unit to) noexcept {
    for (Unit& unit : units) {
      if (unit == from) unit = to;
    }
  }
  /// The same for texts. An empty `from` replaces nothing.
  void ReplaceAll(View from, View to) {
    if (from.empty()) return;
    BasicString replaced;
    std::size_t position = 0;
    for (std::size_t found = units.find(from); found != View::npos;
         found = units.find(from, position)) {
      replaced.Append(GetView().substr(position, found - position));
      replaced.Append(to);
      position = found + from.size();
    }
    replaced.Append(GetView().substr(position));
    units.swap(replaced.units);
  }

 protected:
  BasicString() noexcept = default;
  explicit BasicString(View source) { Assign(source); }
  BasicString(const BasicString&) = default;
  BasicString(BasicString&&) noexcept = default;
  BasicString& operator=(const BasicString&) = default;
  BasicString& operator=(BasicString&&) noexcept = default;
  ~BasicString() = default;

  [[nodiscard]] View SubView(unsigned int start, unsigned int count) const noexcept {
    if (start >= units.size()) return View();
    return GetView().substr(start, count);
  }

 private:
  // A text beyond the limit could not be allocated in any sensible way: it counts as out of memory.
  static std::size_t CheckedLength(std::size_t added, std::size_t present) {
    if (added > MaxLength || present + added > MaxLength) ThrowOutOfMemory();
    return added;
  }
  static unsigned int ToIndex(std::size_t position) noexcept {
    return position == View::npos ? NotFound : static_cast<unsigned int>(position);
  }

  std::basic_string<Unit, std::char_traits<Unit>, Allocator<Unit>> units;
};

}  // namespace Vx

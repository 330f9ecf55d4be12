#pragma once

#include <type_traits>
#include <utility>

#include "foundation/Vx/ArrayFB.h"
#include "foundation/Vx/ConstForwardIteratorBase.h"
#include "foundation/Vx/HashCapacity.h"
#include "foundation/Vx/PagedArray.h"

namespace Vx {

/// Pairs of keys and values, each key once, enumerated in the order in which they came.
///
/// The pairs do not live in the chains. They live in a dense paged array, and the chains only link
/// elements of that array. So enumeration is a walk over an index, whatever the hash values are;
/// growing relinks pointers and copies no pair; and a pair stays where it is until a removal moves
/// the last pair into the hole, which is the one thing that disturbs the order.
///
/// The table grows when it is both full (a load of `fillLimit` or more) and slow to search (an
/// average of more than `searchLimit` key comparisons). Well-spread keys reach high loads first.
///
/// Keys offer `GenerateHashValue()`, which must not fail, and `==`. Keys and values can be copied.
template <class K, class V>
class HashTable {
 public:
  /// A pair where it is stored. Whoever changes the key or the link breaks the table.
  struct HashEntry {
    HashEntry(const K& entryKey, const V& entryValue, HashEntry* following)
        : key(entryKey), value(entryValue), next(following) {}

    K key;
    V value;
    HashEntry* next;  // in the same chain; null at its end
  };

  /// What enumerating hands out: the pair's key and value by reference.
  template <bool IsConst>
  struct BasicAssoc {
    using Value = std::conditional_t<IsConst, const V, V>;
    static constexpr bool IsReference = true;

    const K& key;
    Value& value;
  };

  /// Where an enumeration stands.
  template <bool IsConst>
  struct BasicPairIteratorState {
    using TablePointer = std::conditional_t<IsConst, const HashTable*, HashTable*>;
    using Assoc = BasicAssoc<IsConst>;

    template <class Table>
    [[nodiscard]] Assoc Resolve(Table& table) const noexcept {
      auto& entry = table.entries[index];
      key = &entry.key;
      value = &entry.value;
      return Assoc{*key, *value};
    }

    unsigned int index = 0;
    // The pair that was handed out last.
    mutable const K* key = nullptr;
    mutable typename Assoc::Value* value = nullptr;
  };

  using ConstAssoc = BasicAssoc<true>;
  using Assoc = BasicAssoc<false>;
  using ConstPairIteratorState = BasicPairIteratorState<true>;
  using PairIteratorState = BasicPairIteratorState<false>;
  using ConstPairIterator = ConstForwardIteratorBase<HashTable, ConstPairIteratorState, ConstAssoc>;
  using PairIterator = ConstForwardIteratorBase<HashTable, PairIteratorState, Assoc>;

  /// An empty table with the default limits.
  HashTable() noexcept : HashTable(0, 0) {}

  /// An empty table. A `searchLimitWanted` below 1 stands for 2, a `fillLimitWanted` below 0.01
  /// for 0.75.
  HashTable(float searchLimitWanted, float fillLimitWanted) noexcept
      : searchLimit(searchLimitWanted < 1.0F ? 2.0F : searchLimitWanted),
        fillLimit(fillLimitWanted < 0.01F ? 0.75F : fillLimitWanted) {}

  /// A table with the limits of `source` and its pairs in the same order.
  HashTable(const HashTable& source)
      : searchLimit(source.searchLimit), fillLimit(source.fillLimit) {
    AddAll(source);
  }

  /// Replaces the pairs by those of `source`, in the same order; the limits stay. On failure the
  /// table has the first of them.
  HashTable& operator=(const HashTable& source) {
    if (this == &source) return *this;
    Clear();
    AddAll(source);
    return *this;
  }

  ~HashTable() = default;

  /// The entry of `key`, or null. Constant time on average, as are `Add`, `Put` and `Delete`.
  [[nodiscard]] const HashEntry* Find(const K& key) const {
    return buckets.IsEmpty() ? nullptr : FindHashed(key, key.GenerateHashValue());
  }
  [[nodiscard]] HashEntry* Find(const K& key) {
    return const_cast<HashEntry*>(std::as_const(*this).Find(key));
  }

  /// Assigns the value of `key` and returns true, or returns false and leaves `value` as it was.
  bool FindValue(const K& key, V& value) const {
    const HashEntry* const entry = Find(key);
    if (entry != nullptr) value = entry->value;
    return entry != nullptr;
  }

  /// The value of `key`, or an empty one.
  [[nodiscard]] V GetValue(const K& key) const {
    const HashEntry* const entry = Find(key);
    return entry == nullptr ? V() : entry->value;
  }

  /// Whether both tables have the same keys with the same values, in any order.
  [[nodiscard]] bool HasEqualPairs(const HashTable& other) const {
    if (GetSize() != other.GetSize()) return false;
    for (const auto& [key, value] : EnumeratePairs()) {
      const HashEntry* const entry = other.Find(key);
      if (entry == nullptr || !(entry->value == value)) return false;
    }
    return true;
  }

  /// Appends the pair and returns true; returns false, and changes nothing, if the key is there.
  /// Key and value may be parts of this table. Throws `OutOfMemoryException` or what copying
  /// throws; the pairs are then as they were.
  bool Add(const K& key, const V& value) {
    const unsigned int hash = key.GenerateHashValue();
    if (FindHashed(key, hash) != nullptr) return false;
    Insert(key, value, hash);
    return true;
  }

  /// Sets the value of `key`, or adds the pair as `Add` does. A pair that is there keeps its
  /// position.
  void Put(const K& key, const V& value) {
    const unsigned int hash = key.GenerateHashValue();
    if (const HashEntry* const entry = FindHashed(key, hash); entry != nullptr) {
      const_cast<HashEntry*>(entry)->value = value;
    } else {
      Insert(key, value, hash);
    }
  }

  /// Removes the pair of `key`, moves the last pair into its position, and returns true; returns
  /// false if there is no such pair. Throws `OutOfMemoryException` if freeing memory needs some and
  /// there is none: the pair is gone all the same. What copying a value that can't be moved throws
  /// leaves the pair where it was.
  bool Delete(const K& key) {
    if (entries.IsEmpty()) return false;
    HashEntry*& head = GetHead(key.GenerateHashValue());
    HashEntry** link = &head;
    while (*link != nullptr && !((*link)->key == key)) link = &(*link)->next;
    HashEntry* const removed = *link;
    if (removed == nullptr) return false;
    HashEntry* const last = &entries[entries.GetSize() - 1];
    if (removed != last) MovePair(*removed, *last);
    *link = removed->next;
    searchCost -= GetChainLength(head) + 1;
    if (removed != last) Relink(*last, *removed);
    entries.Pop();
    if (IsSparse()) Rehash(entries.IsEmpty() ? 0 : GetPreviousHashCapacity(buckets.GetSize()));
    return true;
  }

  /// Removes all pairs and frees all memory; the limits stay.
  void Clear() noexcept {
    buckets.Clear();
    entries.Clear();
    searchCost = 0;
  }

  [[nodiscard]] unsigned int GetSize() const noexcept { return entries.GetSize(); }
  [[nodiscard]] bool IsEmpty() const noexcept { return entries.IsEmpty(); }

  /// The number of chains.
  [[nodiscard]] unsigned int GetBucketCount() const noexcept { return buckets.GetSize(); }

  /// The number of key comparisons that it takes to find every key once.
  [[nodiscard]] unsigned int GetSearchCost() const noexcept { return searchCost; }

  /// An iterator at the first pair. Through that of a table that is not const, values can be
  /// changed.
  [[nodiscard]] ConstPairIterator EnumeratePairs() const& noexcept {
    return ConstPairIterator(this);
  }
  [[nodiscard]] PairIterator EnumeratePairs() & noexcept { return PairIterator(this); }
  /// The iterator would outlive the table.
  void EnumeratePairs() const&& = delete;

 private:
  void AddAll(const HashTable& source) {
    for (const auto& [key, value] : source.EnumeratePairs()) Add(key, value);
  }

  // Where the chain of the keys with `hash` begins. There must be buckets.
  HashEntry*& GetHead(unsigned int hash) noexcept { return buckets[hash % buckets.GetSize()]; }

  [[nodiscard]] const HashEntry* FindHashed(const K& key, unsigned int hash) const {
    if (buckets.IsEmpty()) return nullptr;
    const HashEntry* entry = buckets[hash % buckets.GetSize()];
    while (entry != nullptr && !(entry->key == key)) entry = entry->next;
    return entry;
  }

  // Appends a pair whose key is not there.
  void Insert(const K& key, const V& value, unsigned int hash) {
    if (buckets.IsEmpty()) buckets.SetSize(GetNextHashCapacity(0));
    unsigned int cost = GetChainLength(GetHead(hash)) + 1;
    // Growing comes first, so that a failure leaves no half-added pair. The chains come out as if
    // it came last: a rehash puts the last entry first in its chain.
    if (IsOverfull(entries.GetSize() + 1, searchCost + cost)) {
      Rehash(GetNextHashCapacity(buckets.GetSize()));
      cost = GetChainLength(GetHead(hash)) + 1;
    }
    HashEntry*& head = GetHead(hash);
    head = &entries.Emplace(key, value, head);
    searchCost += cost;
  }

  static unsigned int GetChainLength(const HashEntry* entry) noexcept {
    unsigned int length = 0;
    for (; entry != nullptr; entry = entry->next) ++length;
    return length;
  }

  [[nodiscard]] double GetLoad(unsigned int size) const noexcept {
    return buckets.IsEmpty() ? 0.0 : static_cast<double>(size) / buckets.GetSize();
  }

  // With `size` pairs, at least one, and `cost` as search cost.
  [[nodiscard]] bool IsOverfull(unsigned int size, unsigned int cost) const noexcept {
    if (static_cast<double>(fillLimit) > GetLoad(size)) return false;
    return static_cast<double>(searchLimit) < static_cast<double>(cost) / size;
  }

  [[nodiscard]] bool IsSparse() const noexcept {
    return static_cast<double>(fillLimit * 0.25F) >= GetLoad(entries.GetSize());
  }

  // Makes `n` chains of the entries, none of which moves. Nothing changes if there is no memory.
  void Rehash(unsigned int n) {
    buckets.SetCapacity(n);
    buckets.SetSize(n);
    for (HashEntry*& head : buckets) head = nullptr;
    for (unsigned int i = 0; i < entries.GetSize(); ++i) {
      HashEntry& entry = entries[i];
      HashEntry*& head = GetHead(entry.key.GenerateHashValue());
      entry.next = std::exchange(head, &entry);
    }
    searchCost = 0;
    for (const HashEntry* head : buckets) {
      for (unsigned int length = GetChainLength(head); length > 0; --length) searchCost += length;
    }
  }

  // Runs before anything is unlinked, and the key comes last: whatever copying throws, each entry
  // is still on the chain of its key.
  static void MovePair(HashEntry& target, HashEntry& source) {
    if constexpr (std::is_nothrow_move_assignable_v<K> && std::is_nothrow_move_assignable_v<V>) {
      target.value = std::move(source.value);
    } else {
      target.value = source.value;
    }
    target.key = std::move(source.key);
  }

  // Puts `slot`, which has the key already, into the chain instead of `last`.
  void Relink(HashEntry& last, HashEntry& slot) {
    slot.next = last.next;
    HashEntry** link = &GetHead(slot.key.GenerateHashValue());
    while (*link != &last) link = &(*link)->next;
    *link = &slot;
  }

  ArrayFB<HashEntry*, 1> buckets;  // the heads of the chains
  PagedArray<HashEntry> entries;
  float searchLimit;
  float fillLimit;
  unsigned int searchCost = 0;
};

}  // namespace Vx

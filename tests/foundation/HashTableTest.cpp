#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/HashCapacity.h"
#include "foundation/Vx/HashTable.h"
#include "tests/support/SeededRandom.h"

namespace {

// A key that falls into one of `spread` hash values.
struct Key {
  Key(int start) : number(start) {}
  operator int() const { return number; }
  unsigned int GenerateHashValue() const { return static_cast<unsigned int>(number) % spread; }

  int number;
  static inline unsigned int spread = 1;
};

using Table = Vx::HashTable<Key, int>;
using Pairs = std::vector<std::pair<int, int>>;

unsigned int SearchCostOf(const Pairs& pairs, unsigned int count) {
  std::map<unsigned int, unsigned int> lengths;
  unsigned int sum = 0;
  for (const auto& [key, value] : pairs) sum += ++lengths[Key(key).GenerateHashValue() % count];
  return sum;
}

// Everything that can be seen of a table fits `pairs`.
void ExpectTable(const Table& table, const Pairs& pairs) {
  Pairs enumerated;
  for (const auto& [key, value] : table.EnumeratePairs()) enumerated.emplace_back(key, value);
  ASSERT_EQ(enumerated, pairs);
  for (const auto& [key, value] : pairs) {
    const auto* const entry = table.Find(key);
    ASSERT_NE(entry, nullptr) << key;
    ASSERT_EQ(entry->key, key);
    ASSERT_EQ(entry->value, value) << key;
  }
  ASSERT_EQ(table.GetSearchCost(), SearchCostOf(pairs, table.GetBucketCount()));
}

TEST(HashTableTest, FollowsModelWhateverHashesAndLimits) {
  for (unsigned int round = 0; round < 24; ++round) {
    Tests::SeededRandom random;
    Key::spread = std::vector{1U, 7U, 100000U}[round % 3];
    const bool isUsual = round % 2 == 0;  // the other limits are met exactly
    const unsigned int fourFills = isUsual ? 3 : 16;
    Table table(isUsual ? 0.0F : 1.0F, isUsual ? 0.0F : 4.0F);
    Pairs model;
    unsigned int buckets = 0;
    for (int step = 0; step < 300; ++step) {
      const int key = static_cast<int>(random.Below(120));
      const auto found = std::find_if(model.begin(), model.end(),
                                      [key](const auto& pair) { return pair.first == key; });
      const bool isThere = found != model.end();
      if (random.Below(100) >= (step < 200 ? 80U : 15U)) {
        // The argument may be a part of the table.
        ASSERT_EQ(isThere ? table.Delete(table.Find(key)->key) : table.Delete(key), isThere);
        if (!isThere) continue;
        *found = model.back();
        model.pop_back();
        const bool isSparse = 16 * model.size() <= fourFills * buckets;
        if (isSparse) buckets = model.empty() ? 0 : Vx::GetPreviousHashCapacity(buckets);
      } else if (isThere) {
        ASSERT_FALSE(table.Add(key, -1));
        table.Put(key, found->second = step);
      } else {
        table.Put(key, step);
        model.emplace_back(key, step);
        if (buckets == 0) buckets = Vx::GetNextHashCapacity(0);
        const bool isSlow = SearchCostOf(model, buckets) > (isUsual ? 2 : 1) * model.size();
        const bool isFull = 4 * model.size() >= fourFills * buckets;
        if (isSlow && isFull) buckets = Vx::GetNextHashCapacity(buckets);
      }
      ASSERT_EQ(table.GetBucketCount(), buckets);
      ASSERT_NO_FATAL_FAILURE(ExpectTable(table, model));
    }
  }
}

}  // namespace

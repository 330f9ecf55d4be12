#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/ArrayFB.h"
#include "foundation/Vx/HashCapacity.h"
#include "foundation/Vx/HashTable.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "foundation/Vx/PagedArray.h"
#include "foundation/Vx/UniString.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"
#include "tests/support/SeededRandom.h"

namespace {

// A value whose copies need memory.
struct Heavy {
  Heavy(int start = 0) : number(start) {}
  Heavy(const Heavy&) = default;
  Heavy& operator=(const Heavy&) = default;
  operator int() const { return number; }

  Vx::UniString text{u"a text that is too long to be kept in the object itself"};
  int number;
};

// A key that falls into one of `spread` hash values.
struct Key {
  Key(int start) : number(start) {}
  operator int() const { return number; }
  unsigned int GenerateHashValue() const { return static_cast<unsigned int>(number) % spread; }

  int number;
  static inline unsigned int spread = 1;
};

using IntTable = Vx::HashTable<Key, int>;
using Table = Vx::HashTable<Key, Heavy>;
using Pairs = std::vector<std::pair<int, int>>;

Table MakeTable(int count, float searchLimit = 0) {
  Table table(searchLimit, 0);
  for (int i = 0; i < count; ++i) table.Add(i, 10 * i);
  return table;
}

template <class T>
Pairs ToPairs(const T& iterator) {
  Pairs pairs;
  for (const auto& [key, value] : iterator) pairs.emplace_back(key, value);
  return pairs;
}

unsigned int SearchCostOf(const Pairs& pairs, unsigned int count) {
  std::map<unsigned int, unsigned int> lengths;
  unsigned int sum = 0;
  for (const auto& [key, value] : pairs) sum += ++lengths[Key(key).GenerateHashValue() % count];
  return sum;
}

// Everything that can be seen of a table fits `pairs`.
template <class T>
void ExpectTable(const T& table, const Pairs& pairs) {
  ASSERT_EQ(ToPairs(table.EnumeratePairs()), pairs);
  for (const auto& [key, value] : pairs) {
    const auto* const entry = table.Find(key);
    ASSERT_NE(entry, nullptr) << key;
    ASSERT_EQ(entry->key, key);
    ASSERT_EQ(entry->value, value) << key;
  }
  ASSERT_EQ(table.GetSearchCost(), SearchCostOf(pairs, table.GetBucketCount()));
}

TEST(HashCapacityTest, SequenceRisesAndFallsByTheSameSteps) {
  unsigned int present = Vx::GetNextHashCapacity(0);
  while (present < 0x80000000U) {
    const unsigned int next = Vx::GetNextHashCapacity(present);
    ASSERT_GT(next, present);
    ASSERT_EQ(Vx::GetPreviousHashCapacity(next), present);
    present = next;
  }
  EXPECT_THROW(static_cast<void>(Vx::GetNextHashCapacity(0xFFFFFFFFU)), Vx::OutOfMemoryException);
}

// Runs `action` with the `n`-th allocation failing, which must come out as an exception. Gives
// whether there was one.
bool FailAt(int n, const std::function<void()>& action) {
  const Tests::AllocationFault fault(n);
  const bool hasFailed = Tests::FailureOf(action).starts_with("OutOfMemoryException");
  EXPECT_EQ(hasFailed, fault.HasStruck());
  return hasFailed;
}

TEST(PagedArrayTest, FollowsVectorAndItsCapacityRulesAndSurvivesWantOfMemory) {
  const auto room = [](unsigned int blocks) { return 4 * blocks * (blocks + 1); };
  Tests::SeededRandom random;
  Vx::PagedArray<Heavy> array;
  for (int n = 1; FailAt(n, [&] { array.Reserve(300); }); ++n) ASSERT_EQ(array.GetCapacity(), 0U);
  array.Clear();
  std::vector<int> model;
  unsigned int blocks = 0;
  for (int step = 0; step < 4000; ++step) {
    if (random.Below(100) < (step / 200 % 2 == 0 ? 80U : 20U) || model.empty()) {
      for (int n = 1; FailAt(n, [&] { array.Push(step); });) ++n;
      if (model.size() == room(blocks)) ++blocks;
      model.push_back(step);
    } else {
      const auto index = random.Below(model.size());
      array.Delete(index);
      model.erase(model.begin() + index);
      const bool isSparse = model.size() <= room(std::max(blocks, 2U) - 2);
      while (isSparse && blocks > 0 && room(blocks - 1) >= model.size()) --blocks;
    }
    ASSERT_EQ(array.GetCapacity(), room(blocks));
    ASSERT_EQ(array.GetSize(), model.size());
    for (unsigned int i = 0; i < model.size(); ++i) ASSERT_EQ(array[i], model[i]);
  }
}

template <class T>
class ArrayTest : public testing::Test {};
using Arrays = testing::Types<Vx::Array<int>, Vx::ArrayFB<int, 1>, Vx::ArrayFB<int, 4>>;
TYPED_TEST_SUITE(ArrayTest, Arrays);

TYPED_TEST(ArrayTest, FollowsVectorAndItsCapacityRules) {
  Tests::SeededRandom random;
  TypeParam array;
  std::vector<int> model;
  unsigned int capacity = 0;
  const unsigned int least = array.GetMinCapacity();
  for (int step = 0; step < 3000; ++step) {
    const auto n = random.Below(1U << random.Below(7));
    if (random.OneIn(4)) {
      array.SetCapacity(n);
      capacity = std::max(n, least);
      model.resize(std::min<std::size_t>(model.size(), capacity));
    } else {
      if (n > capacity) capacity = std::max({n, 2 * array.GetSize(), least});
      if (n <= capacity / 4) capacity = std::max(2 * n, least);
      array.SetSize(n);
      model.resize(n);
    }
    ASSERT_EQ(std::vector<int>(array.begin(), array.end()), model);
    ASSERT_EQ(array.GetCapacity(), capacity);
    const auto offset = reinterpret_cast<char*>(array.begin()) - reinterpret_cast<char*>(&array);
    const bool isInside = offset >= 0 && offset < static_cast<std::ptrdiff_t>(sizeof(array));
    ASSERT_EQ(isInside, capacity != 0 && capacity <= least);
    for (int& element : array) element = static_cast<int>(random.Below(1000));
    std::copy(array.begin(), array.end(), model.begin());
  }
}

TEST(HashTableTest, FollowsModelWhateverHashesAndLimits) {
  for (unsigned int round = 0; round < 24; ++round) {
    Tests::SeededRandom random;
    Key::spread = std::vector{1U, 7U, 100000U}[round % 3];
    const bool isUsual = round % 2 == 0;  // the other limits are met exactly
    const unsigned int fourFills = isUsual ? 3 : 16;
    IntTable table(isUsual ? 0.0F : 1.0F, isUsual ? 0.0F : 4.0F);
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

TEST(HashTableTest, CopiesTakeTheLimitsAndAssignmentsLeaveThem) {
  Key::spread = 1;
  const Table patient = MakeTable(100, 1000);
  Table assigned = MakeTable(3);
  assigned = patient;
  assigned = *&assigned;
  EXPECT_EQ(assigned.GetBucketCount(), MakeTable(100).GetBucketCount());
  ExpectTable(assigned, ToPairs(patient.EnumeratePairs()));
  EXPECT_EQ(Table(patient).GetBucketCount(), patient.GetBucketCount());
}

TEST(HashTableTest, PairsCompareInAnyOrderAndMissingValuesAreEmpty) {
  IntTable table;
  table.Put(1, 10);
  table.Put(2, 20);
  IntTable turned;
  turned.Put(2, 20);
  EXPECT_FALSE(table.HasEqualPairs(turned));
  turned.Put(1, 10);
  EXPECT_TRUE(table.HasEqualPairs(turned));
  turned.Put(1, 11);
  EXPECT_FALSE(table.HasEqualPairs(turned));
  turned.Delete(1);
  turned.Put(3, 10);
  EXPECT_FALSE(table.HasEqualPairs(turned));
  int value = 5;
  EXPECT_FALSE(table.FindValue(3, value));
  EXPECT_EQ(value, 5);
  EXPECT_TRUE(table.FindValue(2, value));
  EXPECT_EQ(value, 20);
  EXPECT_EQ(table.GetValue(1), 10);
  EXPECT_EQ(table.GetValue(3), 0);
}

// An iterator whose class is forgotten owns a copy of its own, before and after assignments.
TEST(IteratorsTest, PairIteratorsRunOnTheirOwnAndChangeValues) {
  Table table = MakeTable(3);
  for (const auto& [key, value] : table.EnumeratePairs()) value = value + key;
  auto start = std::as_const(table).EnumeratePairs();
  Vx::ConstForwardIterator<Table::ConstAssoc> erased = start;
  Vx::ConstForwardIterator<Table::ConstAssoc> other = erased;
  ++erased;
  EXPECT_EQ((*erased).value, 11);
  EXPECT_EQ(start->value, 0);
  EXPECT_FALSE(erased == other);
  erased = other;
  erased = *&erased;
  ++other;
  EXPECT_EQ(ToPairs(erased), (Pairs{{0, 0}, {1, 11}, {2, 22}}));
}

TEST(IteratorsTest, RandomIteratorsReckonInIndexes) {
  Vx::PagedArray<int> array;
  for (int i = 0; i < 30; ++i) array.Push(i);
  const Vx::ConstRandomIterator<int> start = array.EnumerateElements();
  Vx::ConstRandomIterator<int> it = start;
  it += 20;
  EXPECT_EQ(*it, 20);
  EXPECT_EQ(it[-20], 0);
  EXPECT_EQ(it[9], 29);
  EXPECT_EQ(it - start, 20);
  EXPECT_EQ(start - it, -20);
  EXPECT_TRUE(start < it);
  EXPECT_TRUE(it > start);
  EXPECT_TRUE(it != start);
  it -= 10;
  EXPECT_EQ(*--it, 9);
  it += 21;
  EXPECT_TRUE(it.IsAtEnd());
}

}  // namespace

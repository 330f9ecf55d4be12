#include <algorithm>
#include <cstddef>
#include <map>
#include <random>
#include <string>
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

namespace {

using Larkspan::Testing::AllocationFault;

// A value whose copies need memory, and which knows how many of its kind there are.
class CopyOnly {
 public:
  CopyOnly(int start = 0) : value(Vx::New<int>(start)) { ++alive; }
  CopyOnly(const CopyOnly& source) : CopyOnly(*source.value) {}
  CopyOnly& operator=(const CopyOnly& source) {
    int* const copy = Vx::New<int>(*source.value);
    delete std::exchange(value, copy);
    return *this;
  }
  ~CopyOnly() {
    delete value;
    --alive;
  }
  operator int() const { return *value; }

  static inline int alive = 0;

 protected:
  int* value;
};

// The same, but moving needs no memory.
struct Tracked : CopyOnly {
  using CopyOnly::CopyOnly;
  Tracked(const Tracked&) = default;
  Tracked& operator=(const Tracked&) = default;
  Tracked& operator=(Tracked&& source) noexcept {
    delete std::exchange(value, std::exchange(source.value, nullptr));
    return *this;
  }
};

// A key that falls into one of `spread` hash values.
struct Key : Tracked {
  using Tracked::Tracked;
  unsigned int GenerateHashValue() const { return static_cast<unsigned int>(int{*this}) % spread; }
  static inline unsigned int spread = 1;
};

struct Random : std::mt19937 {
  using std::mt19937::mt19937;
  unsigned int Below(unsigned int limit) { return static_cast<unsigned int>((*this)() % limit); }
};

using Table = Vx::HashTable<Key, Tracked>;
using Pairs = std::vector<std::pair<int, int>>;

class ContainersTest : public testing::Test {
 protected:
  ~ContainersTest() override { EXPECT_EQ(Tracked::alive, 0) << "elements not destroyed"; }
};

template <class T>
Pairs ToPairs(const T& table) {
  Pairs pairs;
  for (const auto& [key, value] : table.EnumeratePairs()) pairs.emplace_back(key, value);
  return pairs;
}

std::vector<int> ToVector(const Vx::PagedArray<Tracked>& array) {
  std::vector<int> values;
  for (const Tracked& value : array.EnumerateElements()) values.push_back(value);
  return values;
}

unsigned int SearchCostOf(const Pairs& pairs, unsigned int bucketCount) {
  std::map<unsigned int, unsigned int> lengths;
  unsigned int cost = 0;
  for (const auto& [key, value] : pairs) {
    cost += ++lengths[static_cast<unsigned int>(key) % Key::spread % bucketCount];
  }
  return cost;
}

// Everything that can be seen of a table fits `pairs`.
template <class T>
void ExpectTable(const T& table, const Pairs& pairs) {
  ASSERT_EQ(table.GetSize(), pairs.size());
  ASSERT_EQ(ToPairs(table), pairs);
  for (const auto& [key, value] : pairs) {
    const auto* const entry = table.Find(key);
    ASSERT_TRUE(entry != nullptr && entry->key == key && entry->value == value) << key;
  }
  ASSERT_EQ(table.Find(-1), nullptr);
  const unsigned int count = table.GetBucketCount();
  ASSERT_EQ(table.GetSearchCost(), count == 0 ? 0 : SearchCostOf(pairs, count));
}

TEST(HashCapacityTest, SequenceRisesAndFallsByTheSameSteps) {
  unsigned int present = Vx::GetNextHashCapacity(0);
  EXPECT_EQ(Vx::GetPreviousHashCapacity(present), present);
  while (present < 0x80000000U) {
    const unsigned int next = Vx::GetNextHashCapacity(present);
    ASSERT_GT(next, present);
    ASSERT_EQ(Vx::GetNextHashCapacity(next - 1), next);
    ASSERT_EQ(Vx::GetPreviousHashCapacity(next), present);
    present = next;
  }
  EXPECT_THROW(static_cast<void>(Vx::GetNextHashCapacity(0xFFFFFFFFU)), Vx::OutOfMemoryException);
}

TEST_F(ContainersTest, PagedArrayGrowsByBlocksAndShrinksOneBlockLate) {
  struct Step {
    unsigned int size, capacity;
    int allocations;  // blocks and page tables
  };
  const Step steps[] = {
      {0, 0, 0},    {1, 8, 1},   {8, 8, 0},   {9, 24, 2}, {24, 24, 0}, {25, 48, 2},
      {49, 80, 2},  {25, 80, 0}, {24, 24, 1}, {1, 24, 0}, {0, 0, 0},   {81, 120, 8},
      {49, 120, 0}, {48, 48, 1}, {9, 48, 0},  {8, 8, 0},  {9, 24, 2},  {1, 24, 0},
  };
  Vx::PagedArray<char> array;
  for (const Step& step : steps) {
    const AllocationFault count(0);
    while (array.GetSize() < step.size) array.Push('x');
    while (array.GetSize() > step.size) array.Pop();
    EXPECT_EQ(array.GetCapacity(), step.capacity) << "at size " << step.size;
    EXPECT_EQ(count.GetCount(), step.allocations) << "at size " << step.size;
  }
  array.Clear();
  array.Reserve(25);
  EXPECT_EQ(array.GetCapacity(), 48U);
  array.Shrink(9);
  EXPECT_EQ(array.GetCapacity(), 48U);
  array.Shrink(0);
  EXPECT_EQ(array.GetCapacity(), 0U);
  EXPECT_THROW(array.Reserve(0xFFFFFFFFU), Vx::OutOfMemoryException);
}

TEST_F(ContainersTest, PagedArrayFollowsVector) {
  for (unsigned int seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    Vx::PagedArray<Tracked> array;
    std::vector<int> model;
    for (int step = 0; step < 400; ++step) {
      if (random.Below(100) < (step < 200 ? 80U : 20U) || array.IsEmpty()) {
        array.Push(step);
        model.push_back(step);
      } else {
        const unsigned int index = random.Below(array.GetSize());
        array.Delete(index);
        model.erase(model.begin() + index);
      }
      ASSERT_EQ(ToVector(array), model);
    }
  }
}

template <class T>
class ContainersArrayTest : public testing::Test {};
using Arrays = testing::Types<Vx::Array<int>, Vx::ArrayFB<int, 1>, Vx::ArrayFB<int, 4>>;
TYPED_TEST_SUITE(ContainersArrayTest, Arrays);

TYPED_TEST(ContainersArrayTest, FollowsVectorAndItsCapacityRules) {
  for (unsigned int seed = 1; seed <= 50; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    TypeParam array;
    std::vector<int> model;
    unsigned int capacity = 0;
    const unsigned int least = array.GetMinCapacity();
    for (int step = 0; step < 100; ++step) {
      const unsigned int n = random.Below(1U << random.Below(7));
      const unsigned int action = random.Below(20);
      if (action == 0) {
        array.Clear();
        model.clear();
        capacity = 0;
      } else if (action < 5) {
        array.SetCapacity(n);
        capacity = std::max(n, least);
        model.resize(std::min<std::size_t>(model.size(), capacity));
      } else {
        if (n > capacity) {
          capacity = std::max({n, 2 * static_cast<unsigned int>(model.size()), least});
        }
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
}

TEST_F(ContainersTest, HashTableFollowsModelWhateverTheHashes) {
  for (unsigned int seed = 1; seed <= 24; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    Key::spread = std::vector{1U, 7U, 40U, 100000U}[seed % 4];
    Table table(0, 0);
    Pairs model;
    unsigned int buckets = 0;
    for (int step = 0; step < 300; ++step) {
      const int key = static_cast<int>(random.Below(120));
      const auto found =
          std::find_if(model.begin(), model.end(), [key](const auto& p) { return p.first == key; });
      const bool isThere = found != model.end();
      if (random.Below(100) < (step < 200 ? 70U : 15U)) {
        if (step % 2 == 0) {
          ASSERT_EQ(table.Add(key, step), !isThere);
        } else {
          table.Put(key, step);
          if (isThere) found->second = step;
        }
        if (!isThere) {
          model.emplace_back(key, step);
          if (buckets == 0) buckets = Vx::GetNextHashCapacity(0);
          const bool isSlow = SearchCostOf(model, buckets) > 2 * model.size();
          if (4 * model.size() >= 3 * buckets && isSlow) buckets = Vx::GetNextHashCapacity(buckets);
        }
      } else {
        ASSERT_EQ(table.Delete(key), isThere);
        if (isThere) {
          *found = model.back();
          model.pop_back();
          const bool isSparse = 16 * model.size() <= 3 * buckets;
          if (isSparse) buckets = model.empty() ? 0 : Vx::GetPreviousHashCapacity(buckets);
        }
      }
      ASSERT_EQ(table.GetBucketCount(), buckets);
      ASSERT_NO_FATAL_FAILURE(ExpectTable(table, model));
    }
  }
}

template <class T = Table>
T MakeTable(int count, float searchLimit = 0) {
  T table(searchLimit, 0);
  for (int i = 0; i < count; ++i) table.Add(i, 10 * i);
  return table;
}

TEST_F(ContainersTest, LoadsThatMeetTheLimitResize) {
  Key::spread = 1;
  Table table(1, 4);
  for (int i = 0; i < 44; ++i) {
    EXPECT_EQ(table.GetBucketCount(), i == 0 ? 0U : 11U);
    table.Add(i, 0);
  }
  for (int i = 44; i > 23; --i) {
    EXPECT_EQ(table.GetBucketCount(), 23U) << i << " pairs";
    table.Delete(i - 1);
  }
  EXPECT_EQ(table.GetBucketCount(), 11U);
}

TEST_F(ContainersTest, CopiesTakeTheLimitsAndAssignmentsLeaveThem) {
  Key::spread = 1;
  const Table patient = MakeTable(100, 1000);
  const Table usual = MakeTable(100);
  ASSERT_LT(patient.GetBucketCount(), usual.GetBucketCount());
  const Table copy(patient);
  EXPECT_EQ(copy.GetBucketCount(), patient.GetBucketCount());
  ExpectTable(copy, ToPairs(patient));
  Table assigned = MakeTable(3);
  assigned = patient;
  EXPECT_EQ(assigned.GetBucketCount(), usual.GetBucketCount());
  assigned = *&assigned;
  ExpectTable(assigned, ToPairs(patient));
}

TEST_F(ContainersTest, ArgumentsMayBePartsOfTheTable) {
  Key::spread = 3;
  Table table = MakeTable(8);
  table.Add(8, table.Find(7)->value);
  table.Put(0, table.Find(0)->value);
  table.Delete(table.Find(2)->key);
  table.Delete(table.Find(7)->key);
  ExpectTable(table, {{0, 0}, {1, 10}, {8, 70}, {3, 30}, {4, 40}, {5, 50}, {6, 60}});
}

TEST_F(ContainersTest, PairIteratorsAreEqualAtTheEndAndChangeValues) {
  Table table = MakeTable(3);
  for (const auto& [key, value] : table.EnumeratePairs()) value = value + key;
  ExpectTable(table, {{0, 0}, {1, 11}, {2, 22}});

  auto it = table.EnumeratePairs();
  auto ahead = it;
  EXPECT_EQ(++ahead, ++it);
  EXPECT_EQ(it->value, 11);
  EXPECT_NE(++ahead, it);
  for (int i = 0; i < 5; ++i) ++ahead;
  table.Clear();
  EXPECT_EQ(ahead, it) << "both past the end";
  EXPECT_TRUE(it.IsAtEnd() && it == it.end());
}

// An iterator whose class is forgotten owns a copy of its own, before and after assignments.
TEST_F(ContainersTest, ErasedIteratorsRunOnTheirOwn) {
  Vx::HashTable<Vx::UniString, Vx::UniString> table;
  table.Add(u"one", u"1");
  table.Add(u"two", u"2");
  using Assoc = Vx::HashTable<Vx::UniString, Vx::UniString>::ConstAssoc;
  auto start = std::as_const(table).EnumeratePairs();
  Vx::ConstForwardIterator<Assoc> erased = start;
  Vx::ConstForwardIterator<Assoc> other = erased;
  EXPECT_EQ(erased, other);
  ++erased;
  EXPECT_EQ((*erased).value, u"2");
  EXPECT_EQ(start->key, u"one");
  EXPECT_FALSE(erased == other);
  erased = other;
  erased = *&erased;
  std::u16string text;
  for (const auto& [key, value] : erased) text += key.GetView(), text += value.GetView();
  EXPECT_EQ(text, u"one1two2");
}

TEST_F(ContainersTest, RandomIteratorsReckonInIndexes) {
  Vx::PagedArray<Tracked> array;
  for (int i = 0; i < 30; ++i) array.Push(i);
  auto run = [](auto it, const auto& start) {
    it += 20;
    EXPECT_EQ(*it, 20);
    EXPECT_EQ(it[-20] + it[9], 29);
    EXPECT_TRUE(it - start == 20 && start - it == -20);
    EXPECT_TRUE(start < it && it > start && !(it < start) && it != start);
    it -= 21;
    EXPECT_EQ(*++it, 0);
    EXPECT_TRUE(it == start && !(it < start) && !(it > start));
    it += 30;
    EXPECT_TRUE(it.IsAtEnd());
    EXPECT_EQ(*--it, 29);
  };
  const auto start = array.EnumerateElements();
  run(start, start);
  const Vx::ConstRandomIterator<Tracked> erased = start;
  run(erased, erased);
}

// Runs `action` with the `n`-th allocation failing; a failure must come out as an exception. Gives
// whether there was one.
template <class Action>
bool FailAt(int n, Action action) {
  const AllocationFault fault(n);
  try {
    action();
  } catch (const Vx::OutOfMemoryException&) {
    EXPECT_TRUE(fault.HasFired());
    return true;
  }
  EXPECT_FALSE(fault.HasFired());
  return false;
}

// Lets every allocation of `action` fail in turn. The table that it works on must then have the
// pairs that it had, or all that the finished action gives it where the failure came late. One
// that was empty may have got the first of them.
template <class T, class Action>
void SweepTable(int count, Action action) {
  const Pairs before = ToPairs(MakeTable<T>(count));
  T finished = MakeTable<T>(count);
  action(finished);
  bool hasFailed = true;
  for (int n = 1; hasFailed; ++n) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    T table = MakeTable<T>(count);
    hasFailed = FailAt(n, [&] { action(table); });
    Pairs expected = ToPairs(table) == before ? before : ToPairs(finished);
    if (count == 0) expected.resize(table.GetSize());
    ASSERT_NO_FATAL_FAILURE(ExpectTable(table, expected));
    table.Put(1000, 1);
    ASSERT_TRUE(table.Delete(1000));
  }
}

template <class T>
class ContainersMemoryTest : public ContainersTest {};
using Tables = testing::Types<Table, Vx::HashTable<Key, CopyOnly>>;
TYPED_TEST_SUITE(ContainersMemoryTest, Tables);

TYPED_TEST(ContainersMemoryTest, TablesSurviveWantOfMemory) {
  for (const unsigned int spread : {1U, 5U, 100000U}) {
    Key::spread = spread;
    const TypeParam source = MakeTable<TypeParam>(30);
    SweepTable<TypeParam>(0, [&source](TypeParam& table) { table = source; });
    for (const int count : {0, 1, 2, 8, 9, 17, 24, 25, 48}) {
      SCOPED_TRACE("spread " + std::to_string(spread) + ", pairs " + std::to_string(count));
      SweepTable<TypeParam>(count, [](TypeParam& table) { table.Add(500, 5); });
      SweepTable<TypeParam>(count, [](TypeParam& table) { table.Put(0, 7); });
      SweepTable<TypeParam>(count, [](TypeParam& table) { table.Delete(0); });
      SweepTable<TypeParam>(count, [count](TypeParam& table) { table.Delete(count - 1); });
      SweepTable<TypeParam>(count, [](TypeParam& table) { TypeParam copy(table); });
    }
  }
}

// Growing by several blocks leaves the array as it was; a removal is done in any case.
TEST_F(ContainersTest, PagedArraySurvivesWantOfMemory) {
  Vx::PagedArray<Tracked> array;
  unsigned int size = 0;
  for (int n = 1; FailAt(n, [&] { array.Reserve(300); }); ++n) ASSERT_EQ(array.GetCapacity(), 0U);
  for (; size < 400; ++size) {
    for (int n = 1; FailAt(n, [&] { array.Push(7); }); ++n) ASSERT_EQ(array.GetSize(), size);
  }
  for (; size > 0; --size) {
    FailAt(1, [&] { array.Pop(); });
    ASSERT_EQ(ToVector(array), std::vector<int>(size - 1, 7));
  }
  EXPECT_EQ(array.GetCapacity(), 0U);
}

}  // namespace

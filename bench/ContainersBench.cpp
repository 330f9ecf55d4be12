// The tables against the standard library's.

#include <string>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>

#include "foundation/Vx/HashTable.h"
#include "foundation/Vx/PagedArray.h"
#include "foundation/Vx/UniString.h"

namespace {

std::vector<Vx::UniString> MakeKeys(std::int64_t count) {
  std::vector<Vx::UniString> keys;
  for (std::int64_t index = 0; index < count; ++index) {
    Vx::UniString key;
    key.Printf("folder/file-%d.txt", index);
    keys.push_back(key);
  }
  return keys;
}

void FillAndFindHashTable(benchmark::State& state) {
  const auto keys = MakeKeys(state.range(0));
  for (auto _ : state) {
    Vx::HashTable<Vx::UniString, unsigned int> table;
    for (const auto& key : keys) table.Put(key, 1);
    for (const auto& key : keys) benchmark::DoNotOptimize(table.Find(key));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FillAndFindHashTable)->Arg(16)->Arg(10000);

void FillAndFindUnorderedMap(benchmark::State& state) {
  std::vector<std::u16string> keys;
  for (const auto& key : MakeKeys(state.range(0))) keys.emplace_back(key.GetView());
  for (auto _ : state) {
    std::unordered_map<std::u16string, unsigned int> table;
    for (const auto& key : keys) table[key] = 1;
    for (const auto& key : keys) benchmark::DoNotOptimize(table.find(key));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FillAndFindUnorderedMap)->Arg(16)->Arg(10000);

void FillArray(Vx::PagedArray<int>& array) {
  for (int value = 0; value < 10000; ++value) array.Push(value);
}

void SumPagedArrayByIndex(benchmark::State& state) {
  Vx::PagedArray<int> array;
  FillArray(array);
  for (auto _ : state) {
    int sum = 0;
    for (unsigned int index = 0; index < array.GetSize(); ++index) sum += array[index];
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * array.GetSize());
}
BENCHMARK(SumPagedArrayByIndex);

void SumPagedArrayByIterator(benchmark::State& state) {
  Vx::PagedArray<int> array;
  FillArray(array);
  for (auto _ : state) {
    int sum = 0;
    for (const int value : array.EnumerateElements()) sum += value;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * array.GetSize());
}
BENCHMARK(SumPagedArrayByIterator);

}  // namespace

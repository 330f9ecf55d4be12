// Base64: whole operations, the fresh buffer included, and the kernels alone on data in the cache.

#include <string>

#include <benchmark/benchmark.h>

#include "Larkspan/Common/Base64.h"
#include "Larkspan/Common/Base64Codec.h"
#include "foundation/Vx/Memory.h"
#include "tests/support/Noise.h"

namespace {

using namespace Larkspan::Common;

std::string MakeData(std::int64_t size) {
  return Tests::Noise(static_cast<std::size_t>(size));
}

std::string MakeText(std::int64_t size) {
  const std::string data = MakeData(size);
  std::string text((data.size() + 2) / 3 * 4, '\0');
  EncodeBase64(PortableBase64Kernel, data.data(), data.size(), text.data());
  return text;
}

// Rates are those of the data, not of the text.
template <class Operation>
void Run(benchmark::State& state, const std::string& source, Operation operation) {
  for (auto _ : state) {
    char* target = nullptr;
    operation(source.data(), static_cast<unsigned int>(source.size()), &target, nullptr);
    benchmark::DoNotOptimize(target);
    Vx::DeleteArrayOperator(target);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Base64Encode(benchmark::State& state) {
  Run(state, MakeData(state.range(0)), Base64::Encode);
}
BENCHMARK(Base64Encode)->Arg(1 << 10)->Arg(1 << 20)->Arg(64 << 20);

void Base64Decode(benchmark::State& state) {
  Run(state, MakeText(state.range(0)), Base64::Decode);
}
BENCHMARK(Base64Decode)->Arg(1 << 10)->Arg(1 << 20)->Arg(64 << 20);

// In lines of 76 characters (RFC 2045).
void Base64DecodeLines(benchmark::State& state) {
  const std::string text = MakeText(state.range(0));
  std::string lines;
  for (std::size_t start = 0; start < text.size(); start += 76) {
    lines += text.substr(start, 76) + "\r\n";
  }
  Run(state, lines, Base64::Decode);
}
BENCHMARK(Base64DecodeLines)->Arg(1 << 20)->Arg(64 << 20);

// 0 for the portable kernel, then the others that this machine has.
void Base64Kernels(benchmark::State& state) {
  const auto vectors = GetVectorBase64Kernels();
  const auto index = static_cast<std::size_t>(state.range(0));
  if (index > vectors.size()) return state.SkipWithError("This machine has no such kernel.");
  const Base64Kernel& kernel = index == 0 ? PortableBase64Kernel : vectors[index - 1];
  const std::string data = MakeData(48 << 10);
  std::string text = MakeText(48 << 10);
  std::string back(text.size(), '\0');
  const bool decodes = state.range(1) != 0;
  for (auto _ : state) {
    if (decodes) {
      benchmark::DoNotOptimize(DecodeBase64(kernel, text.data(), text.size(), back.data()));
    } else {
      EncodeBase64(kernel, data.data(), data.size(), text.data());
      benchmark::ClobberMemory();
    }
  }
  state.SetLabel(std::string(kernel.name) + (decodes ? " decoding" : " encoding"));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(data.size()));
}
BENCHMARK(Base64Kernels)->ArgsProduct({{0, 1, 2}, {0, 1}});

}  // namespace

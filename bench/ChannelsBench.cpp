// Channels against plain zlib: the same megabyte of text, in the pieces that an archive uses.

#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

namespace {

using namespace Larkspan::Common::IO;

const std::string& GetText() {
  static const std::string text = [] {
    std::string made;
    for (unsigned int line = 0; made.size() < 1'000'000; ++line) {
      made += "entry " + std::to_string(line * 2654435761U) + " of a table, value " +
              std::to_string(line % 977) + "\n";
    }
    return made;
  }();
  return text;
}

const std::vector<unsigned char>& GetDeflated() {
  static const std::vector<unsigned char> deflated = [] {
    uLongf size = compressBound(GetText().size());
    std::vector<unsigned char> bytes(size);
    compress(bytes.data(), &size, reinterpret_cast<const Bytef*>(GetText().data()),
             GetText().size());
    bytes.resize(size);
    return bytes;
  }();
  return deflated;
}

void SetProcessed(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(GetText().size()));
}

void ZlibDeflate(benchmark::State& state) {
  std::vector<unsigned char> target(compressBound(GetText().size()));
  for (auto _ : state) {
    uLongf size = target.size();
    compress(target.data(), &size, reinterpret_cast<const Bytef*>(GetText().data()),
             GetText().size());
    benchmark::DoNotOptimize(size);
  }
  SetProcessed(state);
}
BENCHMARK(ZlibDeflate);

void DeflateChannel(benchmark::State& state) {
  for (auto _ : state) {
    Vx::MemoryOBinaryChannel memory;
    DeflaterOBinaryChannel deflater(memory, DeflaterOBinaryChannel::DefaultCompression, 1024);
    deflater.Write(GetText().data(), static_cast<unsigned int>(GetText().size()));
    deflater.Close();
  }
  SetProcessed(state);
}
BENCHMARK(DeflateChannel);

void ZlibInflate(benchmark::State& state) {
  std::vector<unsigned char> target(GetText().size());
  for (auto _ : state) {
    uLongf size = target.size();
    uncompress(target.data(), &size, GetDeflated().data(), GetDeflated().size());
    benchmark::DoNotOptimize(size);
  }
  SetProcessed(state);
}
BENCHMARK(ZlibInflate);

// In reads of the given size: those above 1024 bytes are decompressed in place.
void InflateChannel(benchmark::State& state) {
  std::vector<char> target(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    Vx::MemoryIBinaryChannel memory(reinterpret_cast<const char*>(GetDeflated().data()),
                                    static_cast<unsigned int>(GetDeflated().size()));
    InflaterIBinaryChannel inflater(memory, 1024);
    while (inflater.Read(target.data(), static_cast<unsigned int>(target.size()),
                         Vx::IBinaryChannel::ReadSome) != 0) {
    }
  }
  SetProcessed(state);
}
BENCHMARK(InflateChannel)->Arg(512)->Arg(4096)->Arg(262144);

// Many small entries: what an entry costs beside its data.
void ArchiveOfSmallEntries(benchmark::State& state) {
  const std::string data(100, 'x');
  for (auto _ : state) {
    Vx::MemoryOBinaryChannel memory;
    ArchiveOBinaryChannel writer(memory, 0);
    for (int index = 0; index < 100; ++index) {
      Vx::UniString name;
      name.Printf("entry %d", index);
      writer.PutNextEntry(name, ArchiveEntry::Stored);
      writer.Write(data.data(), static_cast<unsigned int>(data.size()));
    }
    writer.CloseEntry();
    Vx::MemoryIBinaryChannel input(memory.GetBuffer(), memory.GetSize());
    ArchiveIBinaryChannel reader(input);
    while (reader.GetNextEntry()) {
    }
  }
  state.SetItemsProcessed(state.iterations() * 100);
}
BENCHMARK(ArchiveOfSmallEntries);

}  // namespace

// Values and texts in memory against loops written by hand.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataReader.h"
#include "Larkspan/Common/IO/JavaDataWriter.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"
#include "foundation/Vx/OChannelX.h"

namespace {

using namespace Larkspan::Common::IO;

constexpr unsigned int Count = 16384;

std::vector<int> MakeValues() {
  std::vector<int> values;
  for (unsigned int index = 0; index < Count; ++index) {
    values.push_back(static_cast<int>(index * 2654435761U));
  }
  return values;
}

std::string MakeBytes() {
  std::string bytes(Count * 4, '\0');
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    bytes[index] = static_cast<char>(index * 131);
  }
  return bytes;
}

void SetProcessed(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * Count);
}

void WriteIntsByHand(benchmark::State& state) {
  const auto values = MakeValues();
  std::string target;
  for (auto _ : state) {
    target.resize(Count * 4);
    char* next = target.data();
    for (const int value : values) {
      const std::uint32_t swapped = __builtin_bswap32(static_cast<std::uint32_t>(value));
      std::memcpy(next, &swapped, 4);
      next += 4;
    }
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  SetProcessed(state);
}
BENCHMARK(WriteIntsByHand);

void WriteIntsToChannel(benchmark::State& state) {
  const auto values = MakeValues();
  for (auto _ : state) {
    Vx::MemoryOBinaryChannel memory;
    Vx::OChannelX channel(memory, JavaDataOutputProtocolX::GetInstance());
    for (const int value : values) channel.Write(value);
    benchmark::DoNotOptimize(memory.GetBuffer());
  }
  SetProcessed(state);
}
BENCHMARK(WriteIntsToChannel);

void WriteIntsByWriter(benchmark::State& state) {
  const auto values = MakeValues();
  for (auto _ : state) {
    Vx::MemoryOBinaryChannel memory;
    JavaDataWriter writer(memory);
    for (const int value : values) writer.Write(value);
    writer.Settle();
    benchmark::DoNotOptimize(memory.GetBuffer());
  }
  SetProcessed(state);
}
BENCHMARK(WriteIntsByWriter);

void WriteArrayByWriter(benchmark::State& state) {
  const auto values = MakeValues();
  for (auto _ : state) {
    Vx::MemoryOBinaryChannel memory;
    JavaDataWriter writer(memory);
    writer.Write(std::span(values));
    writer.Settle();
    benchmark::DoNotOptimize(memory.GetBuffer());
  }
  SetProcessed(state);
}
BENCHMARK(WriteArrayByWriter);

void ReadIntsByHand(benchmark::State& state) {
  const std::string bytes = MakeBytes();
  std::vector<int> values(Count);
  for (auto _ : state) {
    const char* next = bytes.data();
    for (int& value : values) {
      std::uint32_t swapped = 0;
      std::memcpy(&swapped, next, 4);
      value = static_cast<int>(__builtin_bswap32(swapped));
      next += 4;
    }
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  SetProcessed(state);
}
BENCHMARK(ReadIntsByHand);

void ReadIntsFromChannel(benchmark::State& state) {
  const std::string bytes = MakeBytes();
  std::vector<int> values(Count);
  for (auto _ : state) {
    Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
    Vx::IChannelX channel(memory, JavaDataInputProtocolX::GetInstance());
    for (int& value : values) channel.Read(value);
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  SetProcessed(state);
}
BENCHMARK(ReadIntsFromChannel);

void ReadIntsByReader(benchmark::State& state) {
  const std::string bytes = MakeBytes();
  std::vector<int> values(Count);
  for (auto _ : state) {
    Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
    JavaDataReader reader(memory);
    for (int& value : values) reader.Read(value);
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  SetProcessed(state);
}
BENCHMARK(ReadIntsByReader);

void ReadArrayByReader(benchmark::State& state) {
  const std::string bytes = MakeBytes();
  std::vector<int> values(Count);
  for (auto _ : state) {
    Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
    JavaDataReader reader(memory);
    reader.Read(std::span(values));
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  SetProcessed(state);
}
BENCHMARK(ReadArrayByReader);

// Texts of 40 and 60 characters, some of them beyond ASCII.
std::vector<Vx::UniString> MakeTexts() {
  std::vector<Vx::UniString> texts;
  for (unsigned int index = 0; index < 256; ++index) {
    std::u16string text(40 + index % 20, u'a');
    for (std::size_t unit = 0; unit < text.size(); ++unit) {
      text[unit] = static_cast<char16_t>(u'a' + unit * 7 % 26);
    }
    if (index % 8 == 0) text[index % 40] = u'\u00E4';
    if (index % 16 == 0) text[index % 30] = u'\u20AC';
    texts.emplace_back(text);
  }
  return texts;
}

void AppendByHand(std::string& target, std::u16string_view text) {
  std::size_t length = 0;
  for (const char16_t unit : text) length += unit == 0 || unit > 0x7F ? (unit > 0x7FF ? 3 : 2) : 1;
  const std::size_t start = target.size();
  target.resize(start + 2 + length);
  char* next = target.data() + start;
  *next++ = static_cast<char>(length >> 8U);
  *next++ = static_cast<char>(length);
  for (const char16_t unit : text) {
    if (unit != 0 && unit < 0x80) {
      *next++ = static_cast<char>(unit);
    } else if (unit < 0x800) {
      *next++ = static_cast<char>(0xC0U | (unit >> 6U));
      *next++ = static_cast<char>(0x80U | (unit & 0x3FU));
    } else {
      *next++ = static_cast<char>(0xE0U | (unit >> 12U));
      *next++ = static_cast<char>(0x80U | ((unit >> 6U) & 0x3FU));
      *next++ = static_cast<char>(0x80U | (unit & 0x3FU));
    }
  }
}

const char* ReadByHand(const char* next, std::u16string& text) {
  const auto byte = [&next] { return unsigned{static_cast<unsigned char>(*next++)}; };
  unsigned int length = byte() << 8U;
  length |= byte();
  const char* const end = next + length;
  text.clear();
  while (next != end) {
    const unsigned int first = byte();
    if (first < 0x80) {
      text.push_back(static_cast<char16_t>(first));
    } else if (first < 0xE0) {
      text.push_back(static_cast<char16_t>(((first & 0x1FU) << 6U) | (byte() & 0x3FU)));
    } else {
      const unsigned int second = byte() & 0x3FU;
      text.push_back(
          static_cast<char16_t>(((first & 0x0FU) << 12U) | (second << 6U) | (byte() & 0x3FU)));
    }
  }
  return next;
}

void WriteTextsByHand(benchmark::State& state) {
  const auto texts = MakeTexts();
  for (auto _ : state) {
    std::string target;
    for (const auto& text : texts) AppendByHand(target, text.GetView());
    benchmark::DoNotOptimize(target.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(texts.size()));
}
BENCHMARK(WriteTextsByHand);

void WriteTextsToChannel(benchmark::State& state) {
  const auto texts = MakeTexts();
  for (auto _ : state) {
    Vx::MemoryOBinaryChannel memory;
    Vx::OChannelX channel(memory, JavaDataOutputProtocolX::GetInstance());
    for (const auto& text : texts) WriteUTF(channel, text);
    benchmark::DoNotOptimize(memory.GetBuffer());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(texts.size()));
}
BENCHMARK(WriteTextsToChannel);

void WriteTextsByWriter(benchmark::State& state) {
  const auto texts = MakeTexts();
  for (auto _ : state) {
    Vx::MemoryOBinaryChannel memory;
    JavaDataWriter writer(memory);
    for (const auto& text : texts) writer.WriteUTF(text);
    writer.Settle();
    benchmark::DoNotOptimize(memory.GetBuffer());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(texts.size()));
}
BENCHMARK(WriteTextsByWriter);

std::string MakeEncodedTexts() {
  std::string encoded;
  for (const auto& text : MakeTexts()) AppendByHand(encoded, text.GetView());
  return encoded;
}

void ReadTextsByHand(benchmark::State& state) {
  const std::string encoded = MakeEncodedTexts();
  for (auto _ : state) {
    std::u16string text;
    const char* next = encoded.data();
    for (int index = 0; index < 256; ++index) {
      next = ReadByHand(next, text);
      benchmark::DoNotOptimize(text.data());
    }
  }
  state.SetItemsProcessed(state.iterations() * 256);
}
BENCHMARK(ReadTextsByHand);

void ReadTextsFromChannel(benchmark::State& state) {
  const std::string encoded = MakeEncodedTexts();
  for (auto _ : state) {
    Vx::MemoryIBinaryChannel memory(encoded.data(), static_cast<unsigned int>(encoded.size()));
    Vx::IChannelX channel(memory, JavaDataInputProtocolX::GetInstance());
    Vx::UniString text;
    for (int index = 0; index < 256; ++index) {
      ReadUTF(channel, text);
      benchmark::DoNotOptimize(text.GetBuffer());
    }
  }
  state.SetItemsProcessed(state.iterations() * 256);
}
BENCHMARK(ReadTextsFromChannel);

void ReadTextsByReader(benchmark::State& state) {
  const std::string encoded = MakeEncodedTexts();
  for (auto _ : state) {
    Vx::MemoryIBinaryChannel memory(encoded.data(), static_cast<unsigned int>(encoded.size()));
    JavaDataReader reader(memory);
    Vx::UniString text;
    for (int index = 0; index < 256; ++index) {
      reader.ReadUTF(text);
      benchmark::DoNotOptimize(text.GetBuffer());
    }
  }
  state.SetItemsProcessed(state.iterations() * 256);
}
BENCHMARK(ReadTextsByReader);

}  // namespace

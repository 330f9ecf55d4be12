#include <bit>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/JavaDataInputProtocol.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocol.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataReader.h"
#include "Larkspan/Common/IO/JavaDataWriter.h"
#include "foundation/Vx/BufferedIBinaryChannel.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"
#include "tests/support/FailureOf.h"
#include "tests/support/Noise.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"
#include "tests/support/StringChannel.h"

namespace {

using namespace std::string_literals;
using namespace Larkspan::Common::IO;
using Tests::FailureOf;

JavaDataOutputProtocol& output = JavaDataOutputProtocol::GetInstance();
JavaDataInputProtocol& input = JavaDataInputProtocol::GetInstance();

template <class T>
std::string Encode(const T& value) {
  Tests::RecordingOutput sink;
  Vx::OChannelX channel(sink, JavaDataOutputProtocolX::GetInstance());
  if constexpr (std::is_same_v<T, Vx::UniString>) {
    WriteUTF(channel, value);
  } else {
    channel.Write(value);
  }
  return sink.content;
}

template <class T>
T Decode(const std::string& bytes) {
  Tests::PiecewiseInput source(bytes, 1);
  Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
  T value{};
  if constexpr (std::is_same_v<T, Vx::UniString>) {
    ReadUTF(channel, value);
  } else {
    channel.Read(value);
  }
  EXPECT_EQ(source.GetPosition(), bytes.size());
  return value;
}

template <class T>
struct Row {
  T value;
  std::string bytes;
};

// Both ways, and the end of input at every byte, by exception and by status.
template <class T, std::size_t N>
void CheckRows(const Row<T> (&rows)[N]) {
  for (const Row<T>& row : rows) {
    EXPECT_EQ(Encode(row.value), row.bytes);
    EXPECT_TRUE(Decode<T>(row.bytes) == row.value) << testing::PrintToString(row.bytes);
    Tests::StringChannel channel;
    T value{};
    EXPECT_EQ(output.Write(channel, row.value), 0);
    EXPECT_EQ(channel.content, row.bytes);
    EXPECT_EQ(input.Read(channel, value), 0);
    EXPECT_EQ(value, row.value);
    for (std::size_t cut = 0; cut < row.bytes.size(); ++cut) {
      EXPECT_EQ(FailureOf([&] { Decode<T>(row.bytes.substr(0, cut)); }),
                "EndOfInputException: End of input reached.");
      Tests::StringChannel ending(row.bytes.substr(0, cut));
      const bool atBorder = cut == 0 || (std::is_same_v<T, Vx::UniString> && cut == 2);
      EXPECT_EQ(input.Read(ending, value), atBorder ? Vx::StatusEndOfInput : Vx::StatusTruncated);
      Tests::StringChannel full("", cut);
      EXPECT_EQ(value, row.value);
      EXPECT_EQ(output.Write(full, row.value), Vx::StatusOutputFull);
    }
  }
}

TEST(Values, HaveTheirBytesBothWays) {
  CheckRows<char>({{'A', "A"}, {static_cast<char>(-1), "\xFF"}});
  CheckRows<bool>({{true, "\x01"}, {false, "\0"s}});
  EXPECT_FALSE(Decode<bool>("\x02"));
  CheckRows<short>({{0x1234, "\x12\x34"}, {-2, "\xFF\xFE"}});
  CheckRows<int>({{0x12345678, "\x12\x34\x56\x78"}, {-2, "\xFF\xFF\xFF\xFE"}});
  CheckRows<long>({{-2, "\xFF\xFF\xFF\xFE"}, {-0x7FFFFFFF - 1, "\x80\0\0\0"s}});
  CheckRows<unsigned long>({{0xFFFFFFFEUL, "\xFF\xFF\xFF\xFE"}, {0x80000000UL, "\x80\0\0\0"s}});
  CheckRows<__int64>({{0x0102030405060708, "\1\2\3\4\5\6\7\10"}, {-1, std::string(8, '\xFF')}});
  CheckRows<unsigned __int64>({{0x8000000000000001U, "\x80\0\0\0\0\0\0\x01"s}});
  CheckRows<float>({{1.0F, "\x3F\x80\0\0"s}, {-0.0F, "\x80\0\0\0"s}});
  CheckRows<double>({{-2.5, "\xC0\x04\0\0\0\0\0\0"s},
                     {std::numeric_limits<double>::denorm_min(), "\0\0\0\0\0\0\0\x01"s}});
  CheckRows<long double>({{-2.5L, "\xC0\x04\0\0\0\0\0\0"s}});
}

TEST(UTF, TextsHaveTheBytesOfJavasDataStreamsUpToTheLimit) {
  const std::string longest(65535, 'x');
  CheckRows<Vx::UniString>({
      {Vx::UniString(), "\0\0"s},
      {u"\u007F\u0080\u07FF\u0800\uFFFF", "\0\x0B\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"s},
      {Vx::UniString(std::u16string_view(u"a\0b", 3)),
       "\0\x04"
       "a\xC0\x80"
       "b"s},
      {u"\U0001F600", "\0\x06\xED\xA0\xBD\xED\xB8\x80"s},
      {Vx::UniString(std::u16string_view(u"\xDC80", 1)), "\0\x03\xED\xB2\x80"s},
  });
  EXPECT_EQ(Encode(Vx::UniString::FromUTF8(longest)), "\xFF\xFF" + longest);
  for (const Vx::UniString& text :
       {Vx::UniString::FromUTF8(longest + "x"), Vx::UniString(std::u16string(21846, u'\u20AC'))}) {
    EXPECT_EQ(FailureOf([&] { Encode(text); }),
              "DataIntegrityException: String length exceeds limit.");
    Tests::StringChannel channel;
    EXPECT_EQ(WriteUTF(channel, text), Vx::StatusWriteError);
    EXPECT_EQ(channel.content, "");
  }
}

// Runs `read` on each kind of channel over `bytes`, and tells what it fails with and leaves behind.
template <class Read>
std::vector<std::string> ReadFromEachKind(const std::string& bytes, Read&& read) {
  std::vector<std::string> outcomes;
  const auto add = [&](Vx::IBinaryChannel& channel) {
    const std::string failure = FailureOf([&] {
      read(channel);
      return 0;
    });
    outcomes.push_back(failure + "|" + Tests::ReadRest(channel));
  };
  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
  add(memory);
  Tests::PiecewiseInput beneath(bytes, 5);
  Vx::BufferedIBinaryChannel buffered(beneath, 13);
  add(buffered);
  Tests::PiecewiseInput pieces(bytes, 3);
  add(pieces);
  return outcomes;
}

// The same for `write` and channels with room for `room` bytes: failures and what was taken.
template <class Write>
std::vector<std::string> WriteToEachKind(std::size_t room, Write&& write) {
  std::vector<std::string> outcomes;
  Vx::MemoryOBinaryChannel memory;
  Tests::RecordingOutput beneath(room);
  Vx::BufferedOBinaryChannel buffered(beneath, 13);
  Tests::RecordingOutput direct(room);
  for (Vx::OBinaryChannel* const channel :
       std::initializer_list<Vx::OBinaryChannel*>{&memory, &buffered, &direct}) {
    outcomes.push_back(FailureOf([&] {
      write(*channel);
      channel->Flush();
      return 0;
    }));
  }
  outcomes.emplace_back(memory.GetBuffer(), memory.GetSize());
  outcomes.push_back(beneath.content);
  outcomes.push_back(direct.content);
  return outcomes;
}

// More than a block of bytes, in which a `bool` is true now and then.
std::string MakeBytes() {
  std::string bytes = Tests::Noise(10007);
  for (std::size_t index = 0; index < bytes.size(); index += 3) bytes[index] = '\1';
  return bytes;
}

// NaNs included, and without the padding that a `long double` has.
template <class T>
bool HaveSameBits(T left, T right) {
  if constexpr (std::is_same_v<T, float>) {
    return std::bit_cast<std::uint32_t>(left) == std::bit_cast<std::uint32_t>(right);
  } else if constexpr (std::is_floating_point_v<T>) {
    return std::bit_cast<std::uint64_t>(static_cast<double>(left)) ==
           std::bit_cast<std::uint64_t>(static_cast<double>(right));
  } else {
    return left == right;
  }
}

// `JavaDataReader` and `JavaDataWriter`, value by value and by arrays, against the protocols.
template <class T>
class ManyValues : public testing::Test {};
using Primitives =
    testing::Types<char, unsigned char, bool, short, unsigned short, int, unsigned int, long,
                   unsigned long, __int64, unsigned __int64, float, double, long double>;
TYPED_TEST_SUITE(ManyValues, Primitives);

TYPED_TEST(ManyValues, AreReadAsByTheProtocolToTheLastByteOfCutInput) {
  using T = TypeParam;
  constexpr std::size_t count = 1201;
  const std::string bytes = MakeBytes();
  const std::size_t size = count * Encode(T{}).size();
  for (const std::size_t cut : {std::size_t{0}, std::size_t{1}, std::size_t{29}, size - 1, size}) {
    SCOPED_TRACE(cut);
    const std::string encoded = bytes.substr(0, cut == size ? size + 20 : cut);
    const auto values = std::make_unique<T[]>(3 * count);
    const auto expected = ReadFromEachKind(encoded, [&](Vx::IBinaryChannel& source) {
      Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
      for (std::size_t index = 0; index < count; ++index) channel.Read(values[index]);
    });
    EXPECT_EQ(expected, ReadFromEachKind(encoded, [&](Vx::IBinaryChannel& source) {
                JavaDataReader reader(source);
                for (std::size_t index = 0; index < count; ++index) {
                  reader.Read(values[count + index]);
                }
              }));
    EXPECT_EQ(expected, ReadFromEachKind(encoded, [&](Vx::IBinaryChannel& source) {
                JavaDataReader(source).Read(std::span(&values[2 * count], count));
              }));
    for (std::size_t index = 0; index < count; ++index) {
      ASSERT_TRUE(HaveSameBits(values[index], values[count + index])) << index;
      ASSERT_TRUE(HaveSameBits(values[index], values[2 * count + index])) << index;
    }
  }
}

TYPED_TEST(ManyValues, AreWrittenAsByTheProtocolToTheLastByteOfAFullSink) {
  using T = TypeParam;
  constexpr std::size_t count = 1201;
  const std::string bytes = MakeBytes();
  const auto values = std::make_unique<T[]>(count);
  Vx::MemoryIBinaryChannel source(bytes.data(), static_cast<unsigned int>(bytes.size()));
  JavaDataReader(source).Read(std::span(values.get(), count));
  const std::size_t size = count * Encode(T{}).size();
  for (const std::size_t room : {std::size_t{0}, std::size_t{29}, size - 1, size}) {
    SCOPED_TRACE(room);
    const auto expected = WriteToEachKind(room, [&](Vx::OBinaryChannel& sink) {
      Vx::OChannelX channel(sink, JavaDataOutputProtocolX::GetInstance());
      for (std::size_t index = 0; index < count; ++index) channel.Write(values[index]);
    });
    EXPECT_EQ(expected, WriteToEachKind(room, [&](Vx::OBinaryChannel& sink) {
                JavaDataWriter writer(sink);
                for (std::size_t index = 0; index < count; ++index) writer.Write(values[index]);
              }));
    EXPECT_EQ(expected, WriteToEachKind(room, [&](Vx::OBinaryChannel& sink) {
                JavaDataWriter(sink).Write(std::span<const T>(values.get(), count));
              }));
  }
}

TEST(UTF, AmongOtherValuesTextsOfAnyLengthAreThoseOfTheFunctions) {
  std::u16string longText;
  for (char32_t unit = 0; unit < 0x10000; unit += 13) {
    longText += static_cast<char16_t>(unit);
    longText.append(unit % 37, u'x');
  }
  for (const unsigned int length : {0U, 1U, 8U, 511U, 512U, 513U, 3000U, 20000U, 60000U}) {
    SCOPED_TRACE(length);
    const Vx::UniString text(longText.substr(length / 7, length));
    const auto written = WriteToEachKind(3000, [&](Vx::OBinaryChannel& sink) {
      Vx::OChannelX channel(sink, JavaDataOutputProtocolX::GetInstance());
      channel.Write(7);
      WriteUTF(channel, text);
      channel.Write(8);
    });
    EXPECT_EQ(written, WriteToEachKind(3000, [&](Vx::OBinaryChannel& sink) {
                JavaDataWriter writer(sink);
                writer.Write(7);
                writer.WriteUTF(text);
                writer.Write(8);
              }));
    if (written.front() != "") continue;  // too long
    const std::string& bytes = written[3];
    std::string damaged = bytes;
    damaged[bytes.size() / 2] = '\xFF';
    std::string ended = bytes;
    ended[bytes.size() / 2] = '\0';
    for (const std::string& encoded : {bytes, damaged, ended, bytes.substr(0, bytes.size() / 2)}) {
      std::vector<Vx::UniString> texts;
      const auto expected = ReadFromEachKind(encoded, [&](Vx::IBinaryChannel& source) {
        Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
        int number = 0;
        channel.Read(number);
        texts.push_back(ReadUTF(channel));
        channel.Read(number);
      });
      if (encoded == bytes) {
        EXPECT_EQ(texts, std::vector<Vx::UniString>(3, text));
      }
      const std::vector<Vx::UniString> functions = texts;
      texts.clear();
      EXPECT_EQ(expected, ReadFromEachKind(encoded, [&](Vx::IBinaryChannel& source) {
                  JavaDataReader reader(source);
                  int number = 0;
                  reader.Read(number);
                  Vx::UniString read;
                  reader.ReadUTF(read);
                  texts.push_back(read);
                  reader.Read(number);
                }));
      EXPECT_EQ(texts, functions);
    }
  }
}

}  // namespace

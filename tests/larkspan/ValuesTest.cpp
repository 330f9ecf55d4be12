#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace {

using namespace std::string_literals;
using Larkspan::Common::IO::JavaDataInputProtocolX;
using Larkspan::Common::IO::JavaDataOutputProtocolX;
using Larkspan::Common::IO::ReadUTF;
using Larkspan::Common::IO::WriteUTF;
using Tests::ByteBuilder;
using Tests::FailureOf;
using Tests::PiecewiseInput;
using Tests::RecordingOutput;

constexpr const char* EndOfInput = "EndOfInputException: End of input reached.";

template <class T>
std::string Encode(T value) {
  RecordingOutput sink;
  Vx::OChannelX channel(sink, JavaDataOutputProtocolX::GetInstance());
  channel.Write(value);
  EXPECT_EQ(sink.calls.size(), 1U) << "a value goes out in one write";
  return sink.content;
}

template <class T>
T Decode(const std::string& bytes, std::size_t piece = 1) {
  PiecewiseInput source(bytes, piece);
  Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
  T value{};
  channel.Read(value);
  EXPECT_EQ(source.GetPosition(), bytes.size());
  return value;
}

template <class T>
struct Row {
  T value;
  std::string bytes;
};

// Both ways, and the end of input at every byte.
template <class T, std::size_t N>
void CheckRows(const Row<T> (&rows)[N]) {
  for (const Row<T>& row : rows) {
    const auto& value = row.value;
    const auto& bytes = row.bytes;
    EXPECT_EQ(Encode(value), bytes) << +value;
    EXPECT_EQ(Decode<T>(bytes), value) << +value;
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
      EXPECT_EQ(FailureOf([&] { Decode<T>(bytes.substr(0, cut)); }), EndOfInput) << +value;
    }
  }
}

TEST(Values, IntegersAreBigEndianInTheirWidths) {
  CheckRows<char>({{'A', "A"}, {static_cast<char>(-1), "\xFF"}});
  CheckRows<unsigned char>({{0x80, "\x80"}});
  CheckRows<bool>({{true, "\x01"}, {false, "\0"s}});
  CheckRows<short>({{0x1234, "\x12\x34"}, {-2, "\xFF\xFE"}});
  CheckRows<unsigned short>({{0xFFFE, "\xFF\xFE"}});
  CheckRows<int>({{0x12345678, "\x12\x34\x56\x78"}, {-2, "\xFF\xFF\xFF\xFE"}});
  CheckRows<unsigned int>({{0x80000001U, "\x80\0\0\x01"s}});
  CheckRows<__int64>({{0x0102030405060708, "\1\2\3\4\5\6\7\10"}, {-1, std::string(8, '\xFF')}});
  CheckRows<unsigned __int64>({{0x8000000000000001U, "\x80\0\0\0\0\0\0\x01"s}});
}

TEST(Values, LongTakesFourBytesAndComesBackWithItsSign) {
  CheckRows<long>({{-2, "\xFF\xFF\xFF\xFE"},
                   {0x7FFFFFFF, "\x7F\xFF\xFF\xFF"},
                   {-0x7FFFFFFF - 1, "\x80\0\0\0"s}});
  CheckRows<unsigned long>({{0xFFFFFFFEUL, "\xFF\xFF\xFF\xFE"}, {0x80000000UL, "\x80\0\0\0"s}});
}

TEST(Values, FloatingPointKeepsItsBits) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  CheckRows<float>({{1.0F, "\x3F\x80\0\0"s},
                    {-infinity, "\xFF\x80\0\0"s},
                    {std::numeric_limits<float>::denorm_min(), "\0\0\0\x01"s}});
  CheckRows<double>({{-2.5, "\xC0\x04\0\0\0\0\0\0"s},
                     {std::numeric_limits<double>::infinity(), "\x7F\xF0\0\0\0\0\0\0"s},
                     {std::numeric_limits<double>::denorm_min(), "\0\0\0\0\0\0\0\x01"s}});
  CheckRows<long double>({{-2.5L, "\xC0\x04\0\0\0\0\0\0"s}});
  EXPECT_EQ(Encode(-0.0F), "\x80\0\0\0"s);
  EXPECT_TRUE(std::signbit(Decode<double>(Encode(-0.0))));
}

TEST(Values, EveryNaNIsWrittenAsTheCanonicalOneAndReadAsItIs) {
  for (const std::uint32_t pattern : {0x7FC00000U, 0x7F800001U, 0xFFC12345U, 0xFFFFFFFFU}) {
    EXPECT_EQ(Encode(std::bit_cast<float>(pattern)), "\x7F\xC0\0\0"s) << pattern;
  }
  const std::string canonical = "\x7F\xF8\0\0\0\0\0\0"s;
  for (const std::uint64_t pattern :
       {0x7FF8000000000000U, 0x7FF0000000000001U, 0xFFF8000000000123U, 0xFFFFFFFFFFFFFFFFU}) {
    EXPECT_EQ(Encode(std::bit_cast<double>(pattern)), canonical) << pattern;
  }
  EXPECT_EQ(Encode(-std::numeric_limits<long double>::quiet_NaN()), canonical);
  // Reading keeps the payload.
  EXPECT_EQ(std::bit_cast<std::uint32_t>(Decode<float>("\x7F\xC0\0\x01"s)), 0x7FC00001U);
  EXPECT_EQ(std::bit_cast<std::uint64_t>(Decode<double>("\xFF\xF8\0\0\0\0\0\x07"s)),
            0xFFF8000000000007U);
}

TEST(Values, OnlyTheByteOneIsTrue) {
  for (unsigned int byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(Decode<bool>(std::string(1, static_cast<char>(byte))), byte == 1) << byte;
  }
}

std::string EncodeText(const Vx::UniString& text) {
  RecordingOutput sink;
  Vx::OChannelX channel(sink, JavaDataOutputProtocolX::GetInstance());
  WriteUTF(channel, text);
  EXPECT_EQ(sink.calls.size(), text.IsEmpty() ? 1U : 2U);
  return sink.content;
}

Vx::UniString DecodeText(const std::string& bytes) {
  PiecewiseInput source(bytes, 3);
  Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
  return ReadUTF(channel);
}

TEST(UTF, TextsHaveTheBytesOfJavasDataStreams) {
  const struct {
    Vx::UniString text;
    std::string bytes;
  } rows[] = {
      {Vx::UniString(), ""},
      {u"abc", "abc"},
      {u"\u007F\u0080\u07FF\u0800\uFFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
      {Vx::UniString(std::u16string_view(u"a\0b", 3)), "a\xC0\x80"s + "b"},
      {u"\U0001F600", "\xED\xA0\xBD\xED\xB8\x80"},
      {Vx::UniString(std::u16string_view(u"\xDC80x\xD800", 3)), "\xED\xB2\x80x\xED\xA0\x80"},
  };
  for (const auto& [text, bytes] : rows) {
    const std::string field = ByteBuilder().Utf(bytes);
    EXPECT_EQ(EncodeText(text), field);
    EXPECT_EQ(DecodeText(field), text) << bytes;
    for (std::size_t cut = 0; cut < field.size(); ++cut) {
      PiecewiseInput source(field.substr(0, cut));
      Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
      Vx::UniString target(u"as it was");
      EXPECT_EQ(FailureOf([&] { ReadUTF(channel, target); }), EndOfInput);
      EXPECT_EQ(target, u"as it was");
    }
  }
  EXPECT_EQ(DecodeText(ByteBuilder().Utf("\xF0\x9F\x98\x80")), u"\U0001F600");
}

TEST(UTF, LimitIsOnBytesAndNothingIsWrittenBeyondIt) {
  const std::string longest(65535, 'x');
  EXPECT_EQ(EncodeText(Vx::UniString::FromUTF8(longest)), "\xFF\xFF" + longest);
  EXPECT_EQ(DecodeText("\xFF\xFF" + longest).GetLength(), 65535U);
  const std::u16string threeBytesEach(21846, u'\u20AC');
  for (const Vx::UniString& text :
       {Vx::UniString::FromUTF8(longest + "x"), Vx::UniString(threeBytesEach)}) {
    RecordingOutput sink;
    Vx::OChannelX channel(sink, JavaDataOutputProtocolX::GetInstance());
    EXPECT_EQ(FailureOf([&] { WriteUTF(channel, text); }),
              "DataIntegrityException: String length exceeds limit.");
    EXPECT_TRUE(sink.calls.empty());
  }
}

TEST(UTF, EmptyTextIsReadByOneRead) {
  PiecewiseInput source("\0\0\0\x01x"s);
  Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
  EXPECT_TRUE(ReadUTF(channel).IsEmpty());
  EXPECT_EQ(source.asked, std::vector<unsigned int>{2});
  EXPECT_EQ(ReadUTF(channel), u"x");
  EXPECT_EQ(source.asked, (std::vector<unsigned int>{2, 2, 1}));
}

TEST(UTF, ZeroByteEndsTheTextButNotTheField) {
  PiecewiseInput source("\0\x04"s + "a\0bc"s + "\0\x01z"s);
  Vx::IChannelX channel(source, JavaDataInputProtocolX::GetInstance());
  EXPECT_EQ(ReadUTF(channel), u"a");
  EXPECT_EQ(ReadUTF(channel), u"z");
}

}  // namespace

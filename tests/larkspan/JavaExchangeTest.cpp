#include <bit>
#include <cstdlib>
#include <limits>
#include <string_view>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace Larkspan::Common::IO;
using namespace std::string_view_literals;

// The values of tests/java/DataExchange.java, in their order.
void VisitValues(auto visit) {
  const auto all = [&](const auto&... values) { (visit(values), ...); };
  using Int = std::numeric_limits<int>;
  using Long = std::numeric_limits<__int64>;
  using Float = std::numeric_limits<float>;
  using Double = std::numeric_limits<double>;
  all(true, false, '\x80', '\xFF', '\0', '\x7F');
  for (const int value : {-32768, -2, 0, 32767}) visit(static_cast<short>(value));
  for (const int value : {0, 0xA9, 0xD800, 0xFFFF}) visit(static_cast<unsigned short>(value));
  all(Int::min(), -2, 0, Int::max(), Long::min(), -2LL, 0LL, Long::max());
  all(std::bit_cast<float>(0xFFC12345U), -Float::infinity(), -0.0F, 0.0F, Float::denorm_min(),
      Float::min(), 1.1F, Float::max(), std::bit_cast<double>(-12345LL), -Double::infinity(), -0.0,
      0.0, Double::denorm_min(), Double::min(), 1.1, Double::max());
  for (const auto text : {u""sv, u"a\0b"sv, u"\u007F\u0080\u07FF\u0800\uFFFF"sv, u"\U0001F600"sv,
                          u"\xD800"sv, u"\xDC00"sv, u"\xDE00\xD83D"sv, u"x\xDBFF"sv}) {
    visit(Vx::UniString(text));
  }
  for (const auto& [count, unit] :
       {std::pair(65535U, u'x'), {32767, u'\u00E9'}, {21845, u'\u20AC'}}) {
    visit(Vx::UniString(std::u16string(count, unit)));
  }
}

void Put(Vx::OChannelX& channel, const auto& value) {
  channel.Write(value);
}
void Put(Vx::OChannelX& channel, const Vx::UniString& text) {
  WriteUTF(channel, text);
}
void Get(Vx::IChannelX& channel, auto& value) {
  channel.Read(value);
}
void Get(Vx::IChannelX& channel, Vx::UniString& text) {
  ReadUTF(channel, text);
}

TEST(JavaExchange, BothSidesWriteTheSameBytesAndReadEachOther) {
  if (std::system("javac -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "No javac here.";
  Tests::RecordingOutput written;
  Tests::RecordingOutput repeated;
  Vx::OChannelX output(written, JavaDataOutputProtocolX::GetInstance());
  VisitValues([&](const auto& value) { Put(output, value); });
  const Tests::TemporaryFolder folder;
  folder.Write("library", written.content);
  const std::string command = "cd " + folder.GetPath().string() +
                              " && java '" LARKSPAN_TESTS "/java/DataExchange.java' library java";
  ASSERT_EQ(std::system(command.c_str()), 0);
  Tests::PiecewiseInput source(folder.Read("java"), 1000);
  Vx::IChannelX input(source, JavaDataInputProtocolX::GetInstance());
  Vx::OChannelX echo(repeated, JavaDataOutputProtocolX::GetInstance());
  VisitValues([&]<class T>(const T& value) {
    T found{};
    Get(input, found);
    EXPECT_TRUE(found == value || value != value);
    Put(echo, found);  // shows the sign of a zero, and that a NaN is the canonical one
  });
  EXPECT_EQ(repeated.content, written.content);
  EXPECT_EQ(folder.Read("java"), written.content);
}

}  // namespace

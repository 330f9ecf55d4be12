// What a host written in today's C++ expects of the types that it meets first.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iterator>
#include <ranges>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/Containers/Properties.h"
#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/CRC32.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "Larkspan/Interop/Base64Text.h"
#include "Larkspan/Interop/Buffers.h"
#include "Larkspan/Interop/Paths.h"
#include "Larkspan/Interop/Streams.h"
#include "Larkspan/Interop/Values.h"
#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

namespace {

using namespace Larkspan::Common::IO;
using namespace Larkspan;
using Text = Vx::UniString;
using Output = ArchiveOBinaryChannel;
using EntryIterator = ArchiveFile::EntryIterator;
using HeaderIterator = ArchiveHeaderIterator;
using EntryRef = ArchiveFile::EntryRef;

// Iteration.
static_assert(std::forward_iterator<EntryIterator> && std::input_iterator<HeaderIterator>);
static_assert(std::ranges::input_range<EntryIterator> && std::ranges::input_range<HeaderIterator>);
static_assert(std::sentinel_for<std::default_sentinel_t, EntryIterator>);
static_assert(std::sentinel_for<std::default_sentinel_t, HeaderIterator>);
static_assert(std::default_initializable<EntryIterator>);

// Enumerations of temporaries, which would dangle.
template <class T>
concept EnumeratesHeaders = requires(T object) {
  std::forward<T>(object).EnumerateHeaders();
};
template <class T>
concept EnumeratesPairs = requires(T object) {
  std::forward<T>(object).EnumeratePairs();
};
template <class T>
concept GivesProperties = requires(T object) {
  std::forward<T>(object).GetProperties();
};
static_assert(EnumeratesHeaders<ArchiveFile&> && !EnumeratesHeaders<ArchiveFile&&>);
static_assert(EnumeratesHeaders<Output&> && !EnumeratesHeaders<Output&&>);
static_assert(EnumeratesHeaders<ArchiveIBinaryChannel&> &&
              !EnumeratesHeaders<ArchiveIBinaryChannel&&>);
static_assert(EnumeratesPairs<ArchiveHeaders&> && !EnumeratesPairs<ArchiveHeaders&&>);
static_assert(GivesProperties<Common::Containers::Properties&> &&
              !GivesProperties<Common::Containers::Properties&&>);

// Names, texts and data given.
template <class Name>
concept IsName = requires(Output& output, Name name) {
  output.PutNextEntry(name);
};
static_assert(IsName<const char16_t*> && IsName<std::u16string> && IsName<std::u16string_view>);
static_assert(IsName<const char*> && IsName<std::string> && IsName<std::string_view>);
static_assert(IsName<const char8_t*> && IsName<std::u8string> && IsName<std::u8string_view>);
template <class... Data>
concept IsData = requires(Output& output, Data... data) {
  output.Write(data...);
};
static_assert(IsData<std::string_view> && IsData<std::string> &&
              IsData<std::span<const std::byte>> && IsData<std::vector<std::byte>>);
static_assert(IsData<const char*, int> && IsData<const char*, std::size_t> &&
              !IsData<const char*, double>);

// The string as a value.
static_assert(std::is_nothrow_move_constructible_v<Text> &&
              std::is_nothrow_move_assignable_v<Text>);
static_assert(std::totally_ordered<Text>);
static_assert(std::convertible_to<Text, std::u16string_view> &&
              std::convertible_to<Text, std::u16string> &&
              std::convertible_to<std::u16string, Text>);

// Ownership.
static_assert(std::swappable<EntryRef> && std::equality_comparable<EntryRef>);
static_assert(requires(EntryRef reference) {
  { reference == nullptr } -> std::same_as<bool>;
  std::hash<EntryRef>()(reference);
});

TEST(HostFacts, TextsComeAndGo) {
  const Text text("Grüße");
  EXPECT_TRUE(text == u"Grüße" && text == std::u16string(u"Grüße") &&
              text == std::u16string_view(u"Grüße"));
  EXPECT_TRUE(u"A" < text && text < std::u16string_view(u"H"));
  EXPECT_EQ(text + u"!" + text, Text(u8"Grüße!Grüße"));
  EXPECT_EQ((std::ostringstream() << text).str(), "Grüße");
  EXPECT_EQ(std::hash<Text>()(text), std::hash<Text>()(Text(std::string("Grüße"))));
  EXPECT_TRUE(Text(nullptr).IsEmpty());
  EXPECT_TRUE(Text(static_cast<const char*>(nullptr)).IsEmpty());
  EXPECT_THROW(Text("\xFF"), Vx::ConversionErrorException);
}

TEST(HostFacts, AnArchiveGoesThroughStandardStreams) {
  std::stringstream stream;
  {
    Interop::StreamOBinaryChannel target(stream);
    Output archive(target, 0);
    archive.PutNextEntry("a/b");
    archive.Write(std::string(10000, 'x'));
    archive.CloseEntry();
    archive.Close();
  }
  Interop::StreamIBinaryChannel source(stream);
  ArchiveIBinaryChannel archive(source);
  EXPECT_EQ(archive.GetNextEntry()->GetName(), u"a/b");
  std::vector<std::byte> data(10001);
  EXPECT_EQ(archive.Read(data, Vx::IBinaryChannel::ReadAll), 10000U);

  std::ostringstream dead;
  dead.setstate(std::ios::badbit);
  Interop::StreamOBinaryChannel nowhere(dead);
  EXPECT_THROW(nowhere.Write("x", 1), Vx::IOException);
}

TEST(HostFacts, StandardStreamsStandOnChannels) {
  std::string bytes;
  Interop::StringOBinaryChannel target(bytes);
  Interop::OChannelStreambuf output(target);
  std::ostream writer(&output);
  writer << 42 << '\n' << std::string(9000, 'y') << std::flush;
  ASSERT_EQ(bytes, "42\n" + std::string(9000, 'y'));

  Vx::MemoryIBinaryChannel source(bytes);
  Interop::IChannelStreambuf input(source);
  std::istream reader(&input);
  int number = 0;
  std::string rest;
  EXPECT_TRUE(reader >> number >> rest);
  EXPECT_EQ(number, 42);
  EXPECT_EQ(rest.size(), 9000U);

  target.Close();
  EXPECT_FALSE(writer << "z" << std::flush);
}

TEST(HostFacts, MemoryOfTheHostTakesAndGivesBytes) {
  std::byte memory[4] = {};
  Interop::SpanOBinaryChannel span(memory);
  span.Write("abc");
  EXPECT_THROW(span.Write("de"), Vx::IOException);
  EXPECT_EQ(span.GetWritten().size(), 3U);
  std::vector<std::byte> bytes;
  Interop::VectorOBinaryChannel vector(bytes);
  vector.Write(span.GetWritten());
  EXPECT_EQ(Interop::EncodeBase64(bytes), "YWJj");
  EXPECT_EQ(Interop::DecodeBase64("YWJj"), "abc");
  CRC32 crc;
  crc.Update(std::span<const std::byte>(bytes));
  EXPECT_EQ(crc.GetValue(), 0x352441C2U);
}

// Writes a value, looks at its size, and reads it again.
template <class Value>
void ExpectWidth(unsigned int width, Value value, void (*write)(Vx::OChannelX&, Value),
                 Value (*read)(Vx::IChannelX&)) {
  Vx::MemoryOBinaryChannel bytes;
  Vx::OChannelX output(bytes, JavaDataOutputProtocolX::GetInstance());
  write(output, value);
  EXPECT_EQ(bytes.GetSize(), width);
  Vx::MemoryIBinaryChannel source(bytes.GetBuffer(), bytes.GetSize());
  Vx::IChannelX input(source, JavaDataInputProtocolX::GetInstance());
  EXPECT_EQ(read(input), value);
}

TEST(HostFacts, ValuesHaveTheWidthOfTheirNames) {
  using namespace Interop;
  ExpectWidth<bool>(1, true, WriteBool, ReadBool);
  ExpectWidth<std::int8_t>(1, INT8_MIN, WriteInt8, ReadInt8);
  ExpectWidth<std::uint8_t>(1, UINT8_MAX, WriteUInt8, ReadUInt8);
  ExpectWidth<std::int16_t>(2, INT16_MIN, WriteInt16, ReadInt16);
  ExpectWidth<std::uint16_t>(2, UINT16_MAX, WriteUInt16, ReadUInt16);
  ExpectWidth<std::int32_t>(4, INT32_MIN, WriteInt32, ReadInt32);
  ExpectWidth<std::uint32_t>(4, UINT32_MAX, WriteUInt32, ReadUInt32);
  ExpectWidth<std::int64_t>(8, INT64_MIN, WriteInt64, ReadInt64);
  ExpectWidth<std::uint64_t>(8, UINT64_MAX, WriteUInt64, ReadUInt64);
  ExpectWidth<float>(4, 0.5F, WriteFloat32, ReadFloat32);
  ExpectWidth<double>(8, 0.1, WriteFloat64, ReadFloat64);
}

TEST(HostFacts, DescriptorsOfTheHostAreFiles) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    FileOBinaryChannel output(IO::File::FromDescriptor(ends[1], true));
    output.Write("through a pipe");
    output.Close();
    FileIBinaryChannel input(IO::File::FromDescriptor(ends[0], false));
    std::byte data[20];
    EXPECT_EQ(input.Read(data, Vx::IBinaryChannel::ReadAll), 14U);
  }
  EXPECT_EQ(close(ends[1]), -1);
  EXPECT_EQ(close(ends[0]), 0);
}

TEST(HostFacts, PathsOfTheSystemAreLocations) {
  const std::filesystem::path odd = std::filesystem::current_path() / "\xFF bytes" / "a\\b" / "ü";
  EXPECT_EQ(Interop::ToPath(Interop::ToLocation(odd)), odd);
  EXPECT_EQ(Interop::ToLocation("x/../y"),
            Interop::ToLocation(std::filesystem::current_path() / "y"));
  EXPECT_THROW(static_cast<void>(Interop::ToLocation("")), Vx::IllegalArgumentException);
}

TEST(HostFacts, SizesBeyond32BitsAreNotTruncated) {
  // Four gigabytes and ten bytes of address space that is never touched, and a sink that counts.
  struct Counter final : Vx::OBinaryChannel {
    using OBinaryChannel::Write;
    void Write(const char*, unsigned int size) override { total += size; }
    void Flush() override {}
    void Close() override {}
    unsigned long long total = 0;
  };
  constexpr std::size_t Size = (std::size_t{1} << 32U) + 10;
  const char byte = 0;
  Counter counter;
  counter.Write(&byte, Size);
  EXPECT_EQ(counter.total, Size);
  counter.total = 0;
  counter.Write(std::string_view());
  EXPECT_EQ(counter.total, 0U);
  Vx::MemoryIBinaryChannel source(&byte, Size);
  EXPECT_EQ(source.GetAvailable(), Size);
  EXPECT_THROW(static_cast<void>(source.Read(nullptr, Size, Vx::IBinaryChannel::ReadAll)),
               Vx::IllegalArgumentException);
}

}  // namespace

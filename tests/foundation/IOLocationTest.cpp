#include <string>

#include <gtest/gtest.h>

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Location.h"
#include "tests/support/AllocationFault.h"

namespace {

using IO::Location;
using IO::Name;
using IO::RelativeLocation;
using Larkspan::Testing::AllocationFault;
using Vx::UniString;
using View = UniString::View;

std::string Show(View text) {
  return UniString(text).ToUTF8();
}

TEST(IOLocation, PathTextsAreBroughtToOneForm) {
  const struct {
    View text;
    View path;  // empty: the text is refused
    unsigned int length;
    View last;
  } rows[] = {{u"\\home\\ada\\a.lsa", u"\\home\\ada\\a.lsa", 3, u"a.lsa"},
              {u"/home/ada/a.lsa", u"\\home\\ada\\a.lsa", 3, u"a.lsa"},
              {u"\\", u"\\", 0, u""},
              {u"\\\\a//b\\\\", u"\\a\\b", 2, u"b"},
              {u"\\.\\a\\.\\.b\\...\\", u"\\a\\.b\\...", 3, u"..."},
              {u"\\a\\..\\b\\c\\..", u"\\b", 1, u"b"},
              {u"\\a\\..\\..", u"", 0, u""},
              {u"C:\\Data\\a b.txt", u"C:\\Data\\a b.txt", 2, u"a b.txt"},
              {u"c:/x/../", u"c:\\", 0, u""},
              {u"C:/..", u"", 0, u""},
              {u"C:", u"", 0, u""},
              {u"C:a", u"", 0, u""},
              {u"CD:\\a", u"", 0, u""},
              {u"a\\b", u"", 0, u""},
              {View(u"\\a\0b", 4), u"", 0, u""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.text));
    Location location(u"\\old");
    const int status = location.Set(row.text);
    EXPECT_EQ(location.GetStatus(), status);
    EXPECT_EQ(location.IsValid(), !row.path.empty());
    UniString path;
    EXPECT_EQ(location.ToPath(path), status);
    EXPECT_EQ(path.GetView(), row.path);
    EXPECT_EQ(location.GetLocalLength(), row.length);
    EXPECT_EQ(location.IsRoot(), !row.path.empty() && row.length == 0);
    Name last(u"unchanged");
    EXPECT_EQ(location.GetLastLocalName(last) == 0, row.length > 0);
    EXPECT_EQ(last.GetText().GetView(), row.length > 0 ? row.last : View(u"unchanged"));
  }
}

TEST(IOLocation, AnEmptyTextMakesAValidEmptyLocation) {
  Location location(u"relative");
  EXPECT_EQ(location.Set(u""), 0);
  EXPECT_TRUE(location.IsValid() && location.IsEmpty() && !location.IsRoot());
  EXPECT_NE(location.AppendToLocal(Name(u"a")), 0);
  EXPECT_EQ(location, Location());
}

TEST(IOLocation, ANameLeadsOneLevelDownAndNowhereElse) {
  for (const View bad :
       {View(u""), View(u"."), View(u".."), View(u"a\\b"), View(u"/"), View(u"a\0", 2)}) {
    Location location(u"\\base");
    EXPECT_NE(location.AppendToLocal(Name(bad)), 0) << Show(bad);
    EXPECT_EQ(location, Location(u"\\base"));
  }
  for (const View root : {View(u"\\"), View(u"C:\\")}) {
    Location location(root);
    for (const View good : {u"...", u"C:x"}) ASSERT_EQ(location.AppendToLocal(Name(good)), 0);
    EXPECT_EQ(location.GetPath(), std::u16string(root) + u"...\\C:x");
    while (location.DeleteLastLocalName() == 0) continue;
    EXPECT_EQ(location.GetPath(), root);
  }
}

TEST(IORelativeLocation, NeverLeadsAboveWhereItBegins) {
  const struct {
    View text;
    bool valid;
    View path;
    unsigned int length;
  } rows[] = {{u"a\\b", true, u"a\\b", 2},
              {u"a//b/", true, u"a\\b", 2},
              {u"", true, u"", 0},
              {u".", true, u"", 0},
              {u"a\\..\\b", true, u"b", 1},
              {u"..\\a", false, u"", 0},
              {u"a\\..\\..", false, u"", 0},
              {u"./../a", false, u"", 0},
              {u"\\a", false, u"", 0},
              {u"/a", false, u"", 0},
              {View(u"a\0", 2), false, u"", 0},
              {u"..a\\...", true, u"..a\\...", 2}};
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.text));
    const RelativeLocation relative(row.text);
    EXPECT_EQ(relative.IsValid(), row.valid);
    EXPECT_EQ(relative.GetLength(), row.length);
    std::u16string joined;
    Name name;
    for (unsigned int index = 0; relative.GetName(index, name) == 0; ++index) {
      joined.append(index == 0 ? u"" : u"\\").append(name.GetText().GetView());
    }
    EXPECT_EQ(joined, row.path);
    Location location(u"\\base");
    EXPECT_EQ(location.AppendToLocal(relative) == 0, row.valid);
    EXPECT_EQ(location.GetLocalLength(), 1 + row.length);
    EXPECT_EQ(location.IsBelow(Location(u"\\base")), row.length > 0);
  }
}

TEST(IOLocation, BelowMeansBehindAWholeName) {
  const struct {
    View location;
    View folder;
    bool below;
  } rows[] = {{u"\\a\\b\\c", u"\\a", true}, {u"\\ab", u"\\a", false}, {u"\\a", u"\\a", false},
              {u"\\a", u"\\", true},        {u"C:\\a", u"\\", false}, {u"C:\\a", u"C:\\", true},
              {u"\\a", u"", false}};
  for (const auto& row : rows) {
    EXPECT_EQ(Location(row.location).IsBelow(Location(row.folder)), row.below)
        << Show(row.location) << " below " << Show(row.folder);
  }
}

TEST(IOLocation, EveryNativePathComesBack) {
  const struct {
    std::string native;
    View path;
  } rows[] = {{"/", u"\\"},
              {"/a b/\xC3\xA9\xF0\x9F\x98\x80", u"\\a b\\\xE9\xD83D\xDE00"},
              {"/\xFF\x80\xC3", u"\\\xDCFF\xDC80\xDCC3"},
              {"/\xED\xA0\x80", u"\\\xDCED\xDCA0\xDC80"},  // a surrogate is no valid UTF-8
              {"/\xC0\xAF", u"\\\xDCC0\xDCAF"},            // nor is a separator in two bytes
              {"/a\\", u"\\a\xDC5C"}};
  for (const auto& row : rows) {
    Location location;
    ASSERT_EQ(IO::fileSystem.FromNativePath(row.native, location), 0) << row.native;
    EXPECT_EQ(location.GetPath(), row.path) << row.native;
    Vx::String native;
    ASSERT_EQ(IO::fileSystem.ToNativePath(location, native), 0);
    EXPECT_EQ(native.GetView(), row.native);
  }
}

TEST(IOLocation, NoEscapeStandsForAByteThatSteersAPath) {
  // A separator, dots, a zero byte, a plain letter, and surrogates that stand for no byte.
  for (const View name :
       {u"a\xDC2F", u"\xDC2E", u"\xDC2E\xDC2E", u"\xDC00", u"\xDC61", u"\xD800", u"\xDD00"}) {
    Location location(u"\\tmp");
    ASSERT_EQ(location.AppendToLocal(Name(name)), 0);
    Vx::String native;
    EXPECT_EQ(IO::fileSystem.ToNativePath(location, native), IO::StatusInvalidLocation);
  }
}

TEST(IOLocation, RunningOutOfMemoryBecomesTheState) {
  const Location base(u"\\a-name-that-is-too-long-for-a-small-text");
  const Name name(u"another-name-that-is-too-long-for-it");
  const RelativeLocation relative(name.GetText());
  Location appended(base);
  const AllocationFault fault(1);
  EXPECT_EQ(appended.AppendToLocal(name), IO::StatusOutOfMemory);
  EXPECT_EQ(appended.GetStatus(), IO::StatusOutOfMemory);
  const AllocationFault inCopy(1);
  EXPECT_EQ(Location(base).GetStatus(), IO::StatusOutOfMemory);
  const AllocationFault inRelativeCopy(1);
  EXPECT_EQ(RelativeLocation(relative).GetStatus(), IO::StatusOutOfMemory);
  const AllocationFault inSet(1);
  EXPECT_EQ(appended.Set(base.GetPath()), IO::StatusOutOfMemory);
  EXPECT_EQ(appended.Set(base.GetPath()), 0);
  EXPECT_EQ(appended, base);
}

}  // namespace

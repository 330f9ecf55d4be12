#include <gtest/gtest.h>

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Location.h"

namespace {

using IO::Location;
using IO::Name;
using View = Vx::UniString::View;

TEST(IOLocation, TextsAreBroughtToOneFormOrRefused) {
  constexpr View refused(u"\0", 1);
  const struct {
    View text;
    View absolute;  // as a location
    View relative;  // as a relative location
  } rows[] = {{u"", u"", u""},
              {u"\\home\\ada\\a.lsa", u"\\home\\ada\\a.lsa", refused},
              {u"\\", u"\\", refused},
              {u"\\\\a//b\\\\", u"\\a\\b", refused},
              {u"\\.\\a\\.\\.b\\...\\", u"\\a\\.b\\...", refused},
              {u"\\a\\..\\b\\c\\..", u"\\b", refused},
              {u"\\a\\..\\..", refused, refused},
              {u"C:\\Data\\a b.txt", u"C:\\Data\\a b.txt", u"C:\\Data\\a b.txt"},
              {u"c:/x/../", u"c:\\", u"c:"},
              {u"C:/..", refused, u""},
              {u"C:a", refused, u"C:a"},
              {View(u"\\a\0b", 4), refused, refused},
              {u".", refused, u""},
              {u"..\\a", refused, refused},
              {u"..a\\...", refused, u"..a\\..."}};
  for (const auto& row : rows) {
    SCOPED_TRACE(Vx::UniString(row.text).ToUTF8());
    Location location(u"\\old");
    EXPECT_EQ(location.Set(row.text) == 0, row.absolute != refused);
    EXPECT_EQ(location.IsValid() ? location.GetPath() : refused, row.absolute);
    const IO::RelativeLocation relative(row.text);
    EXPECT_EQ(relative.IsValid() ? relative.GetPath() : refused, row.relative);
    Location base(u"\\base");
    EXPECT_EQ(base.AppendToLocal(relative) == 0, relative.IsValid());
    EXPECT_EQ(base.GetLocalLength(), 1 + relative.GetLength());
    EXPECT_EQ(base.IsBelow(Location(u"\\base")), relative.GetLength() > 0);
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

}  // namespace

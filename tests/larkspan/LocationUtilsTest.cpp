#include <gtest/gtest.h>

#include "Larkspan/Common/IO/LocationUtils.h"

namespace {

using namespace Larkspan::Common::IO;
using Vx::UniString;

TEST(LocationUtils, PathsAndUrlsLeadToLocationsAndBack) {
  const struct {
    UniString text;
    UniString path;
    UniString url;
  } rows[] = {
      {u"C:\\Data\\a b.txt", u"C:\\Data\\a b.txt", u"file://C:/Data/a b.txt"},
      {u"\\100%20\u00E9.lsa", u"\\100%20\u00E9.lsa", u"file:///100%20\u00E9.lsa"},
      {u"/home//ada/./x/../a", u"\\home\\ada\\a", u"file:///home/ada/a"},
      {u"\\", u"\\", u"file:///"},
  };
  for (const auto& [text, path, url] : rows) {
    EXPECT_TRUE(IsAbsolutePath(text)) << text.ToUTF8();
    EXPECT_FALSE(IsRelativePath(text)) << text.ToUTF8();
    const IO::Location location = LocationFromPath(text);
    EXPECT_EQ(LocationToPath(location), path);
    EXPECT_EQ(LocationToURL(location), url);
    EXPECT_EQ(LocationFromURL(url), location);
  }
  for (const char16_t* text : {u"a\\b", u"C:a", u"\\..", u" "}) EXPECT_TRUE(IsRelativePath(text));
  const IO::Location below = LocationFromRelativePath(IO::Location(u"\\base"), u"a\\b/c");
  EXPECT_EQ(LocationToPath(below), u"\\base\\a\\b\\c");
  EXPECT_EQ(LocationToPath(IO::RelativeLocation(u"a/b")), u"a\\b");
  EXPECT_EQ(NormalizeName(u"a/\x1F. ", u'_'), u"a__. ");
  EXPECT_FALSE(IsLegalNameChar(u':'));
}

}  // namespace

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/LocationUtils.h"
#include "tests/support/ExpectFailures.h"

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
}

TEST(LocationUtils, UnitsThatNoNameMayHoldAreReplaced) {
  const std::u16string_view mixed(u"a/\0\x1F. ", 6);
  EXPECT_EQ(NormalizeName(UniString(mixed), u'_'), u"a___. ");
  for (const char16_t unit :
       {u'\0', u'\x1F', u'"', u'*', u'/', u':', u'<', u'>', u'?', u'\\', u'|'}) {
    EXPECT_FALSE(IsLegalNameChar(unit)) << static_cast<int>(unit);
  }
  for (const char16_t unit : {u' ', u'.', u'!', u'~', u'\x7F', u'\xD800', u'\xFFFF'}) {
    EXPECT_TRUE(IsLegalNameChar(unit)) << static_cast<int>(unit);
  }
}

TEST(LocationUtils, ArgumentsAreTestedInTheirOrder) {
  const IO::Location invalid(u"relative");
  const IO::Location base(u"\\a");
  const std::string argument = "IllegalArgumentException: Invalid ";
  const std::string failed = "IOException: Failed to create location from ";
  const std::string replacement = "replacement character";
  Tests::ExpectFailures({
      {[&] { return LocationToPath(invalid); }, argument + "location: location is not valid."},
      {[&] { return LocationToURL(IO::Location()); }, argument + "location: location is empty."},
      {[&] { return LocationFromRelativePath(base, u""); }, argument + "path: path is empty."},
      {[&] { return LocationFromRelativePath(base, u"\\a"); },
       failed + "relative path: the specified path is not relative."},
      {[&] { return LocationFromRelativePath(base, u"..\\a"); }, failed + "relative path."},
      {[&] { return LocationFromPath(u"C:a"); },
       failed + "path: the specified path is not absolute."},
      {[&] { return LocationFromURL(u"FILE:///a"); }, argument + "file url."},
      {[&] { return LocationFromURL(u"file://"); }, argument + "path: path is empty."},
      {[&] { return LocationToPath(IO::RelativeLocation(u"..")); },
       argument + "relative location: relative location is not valid."},
      {[&] { return LocationToPath(IO::RelativeLocation(u".")); },
       argument + "relative location: relative location is empty."},
      {[] { return NormalizeName(u"", u'/'); }, argument + "name: name is empty."},
      {[] { return NormalizeName(u"legal", u'/'); },
       argument + replacement + ": " + replacement + " is not a legal name character."},
  });
}

}  // namespace

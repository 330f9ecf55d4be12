#include <functional>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/LocationUtils.h"
#include "tests/support/FailureOf.h"

namespace {

using namespace Larkspan::Common::IO;
using Tests::FailureOf;
using Vx::UniString;

constexpr const char* NoPath = "IllegalArgumentException: Invalid path: path is empty.";

TEST(LocationUtils, NineCharactersAndControlsAreIllegalInNames) {
  for (unsigned int unit = 0; unit < 0x10000; ++unit) {
    const auto character = static_cast<Vx::UniChar>(unit);
    const bool illegal =
        unit < 0x20 || std::u16string_view(u"\\/:*?\"<>|").find(character) != std::u16string::npos;
    ASSERT_EQ(IsLegalNameChar(character), !illegal) << unit;
  }
}

TEST(LocationUtils, NormalizeNameReplacesUnitByUnit) {
  EXPECT_EQ(NormalizeName(u"a/b:c", u'_'), u"a_b_c");
  EXPECT_EQ(NormalizeName(u"legal \U0001F600. ", u'_'), u"legal \U0001F600. ");
  EXPECT_EQ(NormalizeName(UniString(std::u16string_view(u"\0\x1F|", 3)), u' '), u"   ");
  EXPECT_EQ(FailureOf([] { return NormalizeName(u"legal", u'/'); }),
            "IllegalArgumentException: Invalid replacement character: replacement character is not "
            "a legal name character.");
  EXPECT_EQ(FailureOf([] { return NormalizeName(u"", u'/'); }),
            "IllegalArgumentException: Invalid name: name is empty.");
  try {
    static_cast<void>(NormalizeName(u"", u'_'));
  } catch (const VxException& exception) {
    EXPECT_EQ(exception.GetFileName(), nullptr);
    EXPECT_EQ(exception.GetLineNumber(), 0U);
  }
}

TEST(LocationUtils, PathsAndUrlsLeadToLocationsAndBack) {
  const struct {
    UniString text;
    UniString path;  // empty if the text is relative
    UniString url;
  } rows[] = {
      {u"C:\\Data\\a b.txt", u"C:\\Data\\a b.txt", u"file://C:/Data/a b.txt"},
      {u"\\home\\ada\\100%20\u00E9.lsa", u"\\home\\ada\\100%20\u00E9.lsa",
       u"file:///home/ada/100%20\u00E9.lsa"},
      {u"/home//ada/./x/../a", u"\\home\\ada\\a", u"file:///home/ada/a"},
      {u"\\", u"\\", u"file:///"},
      {u"a\\b", u"", u""},
      {u"C:a", u"", u""},
      {u"\\..", u"", u""},
      {u" ", u"", u""},
  };
  for (const auto& [text, path, url] : rows) {
    EXPECT_EQ(IsAbsolutePath(text), !path.IsEmpty());
    EXPECT_EQ(IsRelativePath(text), path.IsEmpty());
    if (path.IsEmpty()) {
      EXPECT_EQ(FailureOf([&, &given = text] { return LocationFromPath(given); }),
                "IOException: Failed to create location from path: the specified path is not "
                "absolute.");
      continue;
    }
    const IO::Location location = LocationFromPath(text);
    EXPECT_EQ(LocationToPath(location), path);
    EXPECT_EQ(LocationToURL(location), url);
    EXPECT_EQ(LocationFromURL(url), location);
  }
}

TEST(LocationUtils, UrlsNeedThePrefixExactly) {
  for (const char16_t* url : {u"", u" file:///a", u"FILE:///a", u"file:/a", u"/a", u"xfile:///a"}) {
    EXPECT_EQ(FailureOf([&] { return LocationFromURL(url); }),
              "IllegalArgumentException: Invalid file url.");
  }
  EXPECT_EQ(FailureOf([] { return LocationFromURL(u"file://"); }), NoPath);
  EXPECT_EQ(
      FailureOf([] { return LocationFromURL(u"file://a/b"); }),
      "IOException: Failed to create location from path: the specified path is not absolute.");
}

TEST(LocationUtils, RelativePathsLeadDownFromTheBase) {
  const IO::Location base(u"\\base");
  EXPECT_EQ(LocationToPath(LocationFromRelativePath(base, u"a\\b/c")), u"\\base\\a\\b\\c");
  EXPECT_EQ(LocationToPath(LocationFromRelativePath(IO::Location(u"\\"), u"a")), u"\\a");
  EXPECT_EQ(FailureOf([&] { return LocationFromRelativePath(base, u"\\a"); }),
            "IOException: Failed to create location from relative path: the specified path is not "
            "relative.");
  EXPECT_EQ(FailureOf([&] { return LocationFromRelativePath(base, u"..\\a"); }),
            "IOException: Failed to create location from relative path.");
  EXPECT_EQ(LocationToPath(IO::RelativeLocation(u"a/b")), u"a\\b");
}

TEST(LocationUtils, ArgumentsAreTestedInTheirOrder) {
  const IO::Location invalid(u"relative");
  const IO::Location empty;
  const IO::Location sound(u"\\a");
  const char* notValid = "IllegalArgumentException: Invalid location: location is not valid.";
  const char* isEmpty = "IllegalArgumentException: Invalid location: location is empty.";
  const struct {
    std::function<void()> run;
    const char* failure;
  } rows[] = {
      {[&] { return LocationToPath(invalid); }, notValid},
      {[&] { return LocationToPath(empty); }, isEmpty},
      {[&] { return LocationToURL(invalid); }, notValid},
      {[&] { return LocationToURL(empty); }, isEmpty},
      {[&] { return LocationFromRelativePath(invalid, u""); }, notValid},
      {[&] { return LocationFromRelativePath(empty, u""); }, isEmpty},
      {[&] { return LocationFromRelativePath(sound, u""); }, NoPath},
      {[&] { return LocationFromPath(u""); }, NoPath},
      {[&] { return IsAbsolutePath(u""); }, NoPath},
      {[&] { return IsRelativePath(u""); }, NoPath},
      {[&] { return LocationToPath(IO::RelativeLocation(u"..")); },
       "IllegalArgumentException: Invalid relative location: relative location is not valid."},
      {[&] { return LocationToPath(IO::RelativeLocation(u".")); },
       "IllegalArgumentException: Invalid relative location: relative location is empty."},
  };
  for (const auto& [run, failure] : rows) EXPECT_EQ(FailureOf(run), failure);
}

}  // namespace

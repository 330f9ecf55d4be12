#include <gtest/gtest.h>

#include "Larkspan/Archive/TreeFacts.h"

namespace Tests {
namespace {

using namespace Larkspan::Archive;

TEST(TreeFacts, TextsOfFoldersAndAccountsComeBack) {
  for (const char16_t* text :
       {u"0755", u"04755 1700000000.123456789", u"0700 -1.500000000 0:root 7:",
        u"0000 0.000000000 4294967295:ada 1000:grüße"}) {
    TreeFacts::Folder folder;
    ASSERT_TRUE(TreeFacts::FolderFromText(text, folder)) << Vx::UniString(text);
    EXPECT_EQ(TreeFacts::FolderToText(folder), text);
  }
  for (const char16_t* text : {u"0", u"1000 ada", u"4294967295 a b"}) {
    TreeFacts::Account account;
    ASSERT_TRUE(TreeFacts::AccountFromText(text, account)) << Vx::UniString(text);
    EXPECT_EQ(TreeFacts::AccountToText(account), text);
  }
}

TEST(TreeFacts, AnythingElseIsNotTaken) {
  TreeFacts::Folder folder;
  for (const char16_t* text :
       {u"", u"755x", u"010000", u"0755  1.0", u"0755 x", u"0755 1.0 0:root", u"0755 1.0 a:b 0:c",
        u"0755 1.0 0:root 0:root more", u"0755 1.0 4294967296: 0:"}) {
    EXPECT_FALSE(TreeFacts::FolderFromText(text, folder)) << Vx::UniString(text);
  }
  TreeFacts::Account account;
  for (const char16_t* text : {u"", u"ada", u"-1", u"4294967296", u"0x1 a"}) {
    EXPECT_FALSE(TreeFacts::AccountFromText(text, account)) << Vx::UniString(text);
  }
}

}  // namespace
}  // namespace Tests

#include <gtest/gtest.h>

#include "Larkspan/Common/Containers/Properties.h"
#include "tests/support/FailureOf.h"

using Larkspan::Common::Containers::Properties;

TEST(Properties, TellMissingKeysFromEmptyValuesAndRefuseAnEmptyKey) {
  Properties properties;
  properties.SetProperty(u"a", u"");
  Vx::UniString value(u"kept");
  EXPECT_FALSE(properties.GetProperty(u"b", value));
  EXPECT_EQ(value, u"kept");
  EXPECT_EQ(&properties.GetProperty(u"b", std::as_const(value)), &value);
  EXPECT_TRUE(properties.GetProperty(u"a", value));
  EXPECT_EQ(value, u"");
  const std::string refused = "IllegalArgumentException: Invalid key.";
  EXPECT_EQ(Tests::FailureOf([&] { return properties.HasProperty(u""); }), refused);
  EXPECT_EQ(Tests::FailureOf([&] { return properties.GetProperty(u"", value); }), refused);
  EXPECT_EQ(Tests::FailureOf([&] { return properties.GetProperty(u"", u"x"); }), refused);
  EXPECT_EQ(Tests::FailureOf([&] { return properties.GetProperty(u""); }), refused);
  EXPECT_EQ(Tests::FailureOf([&] { properties.SetProperty(u"", value); }), refused);
  EXPECT_EQ(Tests::FailureOf([&] { properties.RemoveProperty(u""); }), refused);
}

TEST(Properties, AreEqualByTheirPairsAndCopiedInTheirOrder) {
  Properties properties, other;
  properties.SetProperty(u"a", u"1");
  properties.SetProperty(u"b", u"2");
  EXPECT_NE(properties, other);
  other = properties;
  EXPECT_EQ(properties, other);
  EXPECT_EQ((*other.GetProperties()).key, u"a");
  other.RemoveProperty(u"a");
  EXPECT_FALSE(other.HasProperty(u"a"));
  EXPECT_TRUE(other.HasProperty(u"b"));
  EXPECT_EQ(other.GetSize(), 1U);
  other.Clear();
  EXPECT_TRUE(other.IsEmpty());
  EXPECT_TRUE(other == Properties());
}

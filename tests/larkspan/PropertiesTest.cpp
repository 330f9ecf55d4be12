#include <gtest/gtest.h>

#include "Larkspan/Common/Containers/Properties.h"

using Larkspan::Common::Containers::Properties;

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

#include <gtest/gtest.h>

#include "Larkspan/Common/Containers/Properties.h"
#include "tests/support/FailureOf.h"

TEST(Properties, TellMissingKeysFromEmptyValuesAndRefuseAnEmptyKey) {
  Larkspan::Common::Containers::Properties properties;
  properties.SetProperty(u"a", u"");
  Vx::UniString value(u"kept");
  EXPECT_TRUE(!properties.GetProperty(u"b", value) && value == u"kept");
  EXPECT_EQ(&properties.GetProperty(u"b", std::as_const(value)), &value);
  EXPECT_TRUE(properties.GetProperty(u"a", value) && value.IsEmpty());
  const std::string refused = "IllegalArgumentException: Invalid key.";
  EXPECT_EQ(Tests::FailureOf([&] { return properties.GetProperty(u""); }), refused);
  EXPECT_EQ(Tests::FailureOf([&] { properties.SetProperty(u"", value); }), refused);
  EXPECT_EQ(Tests::FailureOf([&] { properties.RemoveProperty(u""); }), refused);
}

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/ExceptionReport.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/FileNotFoundException.h"
#include "Larkspan/Common/IO/FileTransactionException.h"
#include "foundation/Vx/DebugOutput.h"

namespace {

using Larkspan::Common::DebugPrintEx;
using Larkspan::Common::ToString;
using Larkspan::Common::IO::ArchiveException;
using Larkspan::Common::IO::FileNotFoundException;
using Larkspan::Common::IO::FileTransactionException;

template <class Class>
class OwnExceptions : public testing::Test {};
using OwnClasses =
    testing::Types<ArchiveException, FileNotFoundException, FileTransactionException>;
TYPED_TEST_SUITE(OwnExceptions, OwnClasses);

TYPED_TEST(OwnExceptions, CloneOutlivesTheOriginalWithAllThatItTells) {
  EXPECT_THROW(throw TypeParam("x"), Vx::IOException);
  std::unique_ptr<VxException> clone;
  {
    const TypeParam original(u"Schl\u00FCssel \u20AC.", "a.cpp", 7,
                             ArchiveException("inner", "b.cpp", 8, Vx::IOException("innermost")));
    clone.reset(original.Clone());
  }
  EXPECT_NE(dynamic_cast<TypeParam*>(clone.get()), nullptr);
  EXPECT_STREQ(clone->GetName(), TypeParam::Name);
  EXPECT_EQ(clone->GetMessage(), u"Schl\u00FCssel \u20AC.");
  EXPECT_STREQ(clone->what(), "Schl\xC3\xBCssel \xE2\x82\xAC.");
  EXPECT_STREQ(clone->GetFileName(), "a.cpp");
  EXPECT_EQ(clone->GetLineNumber(), 7U);
  EXPECT_EQ(clone->GetID(), -7003);
  ASSERT_NE(clone->GetCause(), nullptr);
  ASSERT_NE(clone->GetCause()->GetCause(), nullptr);
  EXPECT_STREQ(clone->GetCause()->GetCause()->what(), "innermost");
  EXPECT_EQ(clone->GetCause()->GetCause()->GetCause(), nullptr);
}

TEST(ExceptionReport, EachExceptionTakesTwoLinesFromTheOutermostInwards) {
  const Vx::IOException innermost("", "c.cpp", 3);
  const Vx::IOException inner("disk \u00FC", "b.cpp", 22, innermost);
  const FileTransactionException outer("100% of %s failed.", "a.cpp", 4000000000U, inner);
  EXPECT_EQ(ToString(outer),
            u"\nException: FileTransactionException: 100% of %s failed.\n\tat a.cpp(4000000000)"
            u"\nCaused by: IOException: disk \u00C3\u00BC\n\tat b.cpp(22)"
            u"\nCaused by: IOException\n\tat c.cpp(3)");
}

TEST(ExceptionReport, WithoutMessageAndPlaceItShowsTheName) {
  EXPECT_EQ(ToString(ArchiveException()), u"\nException: ArchiveException\n\tat (0)");
}

TEST(ExceptionReport, LongReportComesOutWhole) {
  const std::u16string message(5000, u'm');
  const Vx::UniString report = ToString(ArchiveException(Vx::UniString(message), "a.cpp", 1));
  EXPECT_EQ(report,
            Vx::UniString(u"\nException: ArchiveException: " + message + u"\n\tat a.cpp(1)"));
}

std::string debugText;

TEST(ExceptionReport, DebugOutputGetsItVerbatim) {
  debugText.clear();
  Vx::SetDebugSink([](const char* bytes, std::size_t size) { debugText.append(bytes, size); });
  DebugPrintEx(ArchiveException(u"100%s %n \u20AC", "a.cpp", 1));
  Vx::SetDebugSink(nullptr);
  EXPECT_EQ(debugText, "\nException: ArchiveException: 100%s %n \xE2\x82\xAC\n\tat a.cpp(1)");
}

}  // namespace

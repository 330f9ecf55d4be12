#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/ExceptionReport.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/FileNotFoundException.h"
#include "Larkspan/Common/IO/FileTransactionException.h"
#include "foundation/Vx/DebugOutput.h"
#include "tests/support/StringChannel.h"

namespace {

using namespace Larkspan::Common;
using namespace Larkspan::Common::IO;

std::string debugText;

TEST(Exceptions, CloneOutlivesTheOriginalAndIsReportedFromTheOutermostInwards) {
  std::unique_ptr<VxException> clone;
  {
    const Vx::IOException innermost("", "c.cpp", 3);
    const ArchiveException inner("disk \u00FC", "b.cpp", 22, innermost);
    const FileTransactionException outer(u"100% of %s \u20AC.", "a.cpp", 4000000000U, inner);
    clone.reset(outer.Clone());
  }
  const std::string report =
      "\nException: FileTransactionException: 100% of %s \u20AC.\n\tat a.cpp(4000000000)"
      "\nCaused by: ArchiveException: disk \u00C3\u00BC\n\tat b.cpp(22)"
      "\nCaused by: IOException\n\tat c.cpp(3)";
  EXPECT_EQ(ToString(*clone).ToUTF8(), report);
  Vx::SetDebugSink([](const char* bytes, std::size_t size) { debugText.append(bytes, size); });
  DebugPrintEx(*clone);
  Vx::SetDebugSink(nullptr);
  EXPECT_EQ(debugText, report);
  Tests::StringChannel full("", 5);
  clone->Dump(full);
  EXPECT_EQ(full.content, "FileT");
  EXPECT_EQ(ToString(ArchiveException()), u"\nException: ArchiveException\n\tat (0)");
  EXPECT_EQ(ArchiveException().GetID(), -7003);
  EXPECT_EQ(FileNotFoundException().GetID(), -7003);
  EXPECT_EQ(clone->GetID(), -7003);
}

}  // namespace

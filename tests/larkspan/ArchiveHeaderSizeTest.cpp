#include <string>

#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "tests/larkspan/ArchiveFolder.h"

namespace Tests {
namespace {

using namespace Larkspan::Common::IO;

// Headers whose block takes 31 + 2 + 1 + 2 + `valueSize` bytes.
ArchiveHeaders HeadersOf(std::size_t valueSize) {
  ArchiveHeaders headers;
  headers.Put(u"h", Vx::UniString::FromUTF8(std::string(valueSize, 'v')));
  return headers;
}

TEST(ArchiveHeaderSize, IsThatOfTheBlockThatIsWritten) {
  EXPECT_EQ(GetArchiveHeaderSize(ArchiveHeaders()), 31U);
  EXPECT_EQ(GetArchiveHeaderSize(HeadersOf(1000)), 1036U);
  EXPECT_EQ(GetUTFSize(u"a\u00E4\u20AC"), 6U);
}

TEST(ArchiveHeaderSize, ReservedSizeIsDoubledUntilTheHeadersFit) {
  EXPECT_EQ(FitReservedHeaderSize(HeadersOf(1000), 256), 2048U);
  EXPECT_EQ(FitReservedHeaderSize(HeadersOf(9), 0xFFFFFFFF), 0xFFFFFFFF);
  EXPECT_TRUE(IsReservedHeaderSize(MinReservedHeaderSize));
  EXPECT_FALSE(IsReservedHeaderSize(MinReservedHeaderSize - 1));
  EXPECT_EQ(FailureOf([] { return FitReservedHeaderSize(HeadersOf(1), 255); }),
            "IllegalArgumentException: Invalid header size: header size is too small.");
}

class ArchiveRewrite : public ArchiveFolder {};

TEST_F(ArchiveRewrite, IsForetoldWithThePathOfTheCopy) {
  Write(MakeSample(256));
  std::filesystem::create_directory(GetPath("links"));
  std::filesystem::create_symlink("../a.lsa", GetPath("links/to.lsa"));
  ArchiveFile file(folder.At("links/to.lsa"));
  EXPECT_FALSE(file.NeedsRewrite());
  file.ClearHeaders();
  EXPECT_FALSE(file.NeedsRewrite());
  file.PutHeader(u"h", Vx::UniString::FromUTF8(std::string(221, 'v')));
  EXPECT_TRUE(file.NeedsRewrite());
  EXPECT_EQ(file.GetRewriteLocation().GetPath(), folder.At("a.lsa.updated").GetPath());
}

}  // namespace
}  // namespace Tests

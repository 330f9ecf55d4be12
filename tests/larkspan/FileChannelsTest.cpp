#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Larkspan::Common::IO::FileIBinaryChannel;
using Larkspan::Common::IO::FileOBinaryChannel;
using Larkspan::Common::IO::FileShare;
using Tests::FailureOf;
using Tests::FileFault;

class FileChannels : public testing::Test {
 protected:
  const Tests::TemporaryFolder folder;
  const IO::Location location = folder.At("f");
};

TEST_F(FileChannels, ConstructorsTestInTheirOrder) {
  const IO::Location invalid(u"relative");
  const IO::Location isFolder = folder.GetLocation();
  const auto input = [](const IO::Location& at) {
    return FailureOf([&] { FileIBinaryChannel channel(at, FileShare::NoShare); });
  };
  const auto output = [](const IO::Location& at, FileShare share) {
    return FailureOf([&] { FileOBinaryChannel channel(at, false, share); });
  };
  const std::string notValid =
      "IllegalArgumentException: Invalid file location: location is not valid.";
  const std::string isEmpty = "IllegalArgumentException: Invalid file location: location is empty.";
  EXPECT_EQ(input(invalid), notValid);
  EXPECT_EQ(input(IO::Location()), isEmpty);
  EXPECT_EQ(input(location),
            "FileNotFoundException: Failed to create file binary input channel: file not found.");
  EXPECT_EQ(input(isFolder),
            "IOException: Failed to create file binary input channel: failed to open file.");
  EXPECT_EQ(output(invalid, FileShare::ShareRead), notValid);
  EXPECT_EQ(output(IO::Location(), FileShare::ShareRead), isEmpty);
  EXPECT_EQ(output(isFolder, FileShare::ShareRead),
            "IllegalArgumentException: Invalid file share: file share is not supported yet.");
  const std::string cannotOpen =
      "IOException: Failed to create file binary output channel: failed to open file.";
  EXPECT_EQ(output(isFolder, FileShare::NoShare), cannotOpen);
  EXPECT_EQ(output(folder.At("missing/f"), FileShare::NoShare), cannotOpen);
}

TEST_F(FileChannels, EmptyTransfersAreRefusedBeforeTheClosedState) {
  folder.Write("f", "x");
  FileIBinaryChannel input(location, FileShare::ShareRead);
  FileOBinaryChannel output(folder.At("g"), false, FileShare::NoShare);
  char byte = 0;
  for (int round = 0; round < 2; ++round) {
    const auto read = [&](char* buffer, unsigned int size) {
      return FailureOf([&] { return input.Read(buffer, size, Vx::IBinaryChannel::ReadSome); });
    };
    EXPECT_EQ(read(nullptr, 0),
              "IllegalArgumentException: Invalid destination buffer: buffer is null.");
    EXPECT_EQ(read(&byte, 0),
              "IllegalArgumentException: Invalid destination buffer length: length is 0.");
    EXPECT_EQ(FailureOf([&] { output.Write(nullptr, 0); }),
              "IllegalArgumentException: Invalid source buffer: buffer is null.");
    EXPECT_EQ(FailureOf([&] { output.Write("", 0); }),
              "IllegalArgumentException: Invalid source buffer length: length is 0.");
    input.Close();
    output.Close();
  }
}

TEST_F(FileChannels, AppendGoesBehindTheContentAndElseTheFileIsEmptied) {
  const auto write = [&](bool append, const std::string& text) {
    FileOBinaryChannel channel(location, append, FileShare::NoShare);
    channel.Write(text.data(), static_cast<unsigned int>(text.size()));
    channel.Flush();
    EXPECT_TRUE(folder.Read("f").ends_with(text));  // held back nowhere
  };
  write(true, "first");
  write(true, " second");
  EXPECT_EQ(folder.Read("f"), "first second");
  write(false, "new");
  EXPECT_EQ(folder.Read("f"), "new");
}

TEST_F(FileChannels, FaultsOfTheSystemHaveTheirMessages) {
  const std::string full =
      "IOException: Failed to write to file binary output channel: output is full.";
  const std::string other = "IOException: Failed to write to file binary output channel";
  const struct {
    int error;
    std::string failure;
  } rows[] = {{ENOSPC, full},
              {EDQUOT, full},
              {EFBIG, full},
              {EIO, other + ": write error."},
              {EPIPE, other + "."}};
  for (const auto& [error, failure] : rows) {
    FileOBinaryChannel channel(location, false, FileShare::NoShare);
    const FileFault fault(Tests::CallWrite, error);
    EXPECT_EQ(FailureOf([&] { channel.Write("x", 1); }), failure) << error;
  }
  folder.Write("f", "text");
  FileIBinaryChannel input(location, FileShare::NoShare);
  {
    const FileFault fault(Tests::CallRead, EIO);
    EXPECT_EQ(FailureOf([&] { return Tests::ReadRest(input); }),
              "IOException: Failed to read from file binary input channel.");
  }
  EXPECT_EQ(Tests::ReadRest(input), "text");
}

TEST_F(FileChannels, FailedCloseIsReportedOnceAndCanBeRepeated) {
  folder.Write("f", "text");
  FileIBinaryChannel input(location, FileShare::NoShare);
  FileOBinaryChannel output(folder.At("g"), false, FileShare::NoShare);
  {
    const FileFault fault(Tests::CallClose, EIO);
    EXPECT_EQ(FailureOf([&] { input.Close(); }),
              "IOException: Failed to close file binary input channel.");
    EXPECT_EQ(FailureOf([&] { output.Close(); }),
              "IOException: Failed to close file binary output channel.");
  }
  input.Close();
  output.Close();
  EXPECT_EQ(FailureOf([&] { output.Flush(); }),
            "IOException: File binary output channel is closed.");
  const FileFault fault(Tests::CallClose, EIO);
  const FileOBinaryChannel unseen(folder.At("h"), false, FileShare::NoShare);
}

}  // namespace

#include <cerrno>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Larkspan::Common::IO::FileIBinaryChannel;
using Larkspan::Common::IO::FileOBinaryChannel;
using Larkspan::Common::IO::FileShare;

TEST(FileChannels, FailuresHaveTheirMessages) {
  const Tests::TemporaryFolder folder;
  folder.Write("f", "text");
  FileIBinaryChannel input(folder.At("f"), FileShare::NoShare);
  FileOBinaryChannel output(folder.At("g"), false, FileShare::NoShare);
  char byte = 0;
  const auto open = [](const IO::Location& at) { FileIBinaryChannel(at, FileShare::NoShare); };
  const auto create = [](const IO::Location& at, FileShare share = FileShare::NoShare) {
    FileOBinaryChannel(at, false, share);
  };
  const auto read = [&](char* buffer, unsigned int size) {
    return input.Read(buffer, size, Vx::IBinaryChannel::ReadSome);
  };
  const std::string argument = "IllegalArgumentException: Invalid ";
  const std::string toOpen = "Exception: Failed to create file binary input channel: ";
  const std::string toCreate = "IOException: Failed to create file binary output channel: ";
  const std::string toWrite = "IOException: Failed to write to file binary output channel";
  const struct {
    std::function<void()> run;
    std::string failure;
    unsigned int calls = 0;  // these fail with `error` meanwhile
    int error = 0;
  } rows[] = {
      {[&] { open(IO::Location(u"a")); }, argument + "file location: location is not valid."},
      {[&] { open(IO::Location()); }, argument + "file location: location is empty."},
      {[&] { open(folder.At("missing")); }, "FileNotFound" + toOpen + "file not found."},
      {[&] { open(folder.GetLocation()); }, "IO" + toOpen + "failed to open file."},
      {[&] { create(folder.At("h"), FileShare::ShareRead); },
       argument + "file share: file share is not supported yet."},
      {[&] { create(folder.At("missing/f")); }, toCreate + "failed to open file."},
      {[&] { read(nullptr, 0); }, argument + "destination buffer: buffer is null."},
      {[&] { read(&byte, 0); }, argument + "destination buffer length: length is 0."},
      {[&] { output.Write(nullptr, 0); }, argument + "source buffer: buffer is null."},
      {[&] { output.Write("", 0); }, argument + "source buffer length: length is 0."},
      {[&] { output.Write("x", 1); }, toWrite + ": output is full.", Tests::CallWrite, ENOSPC},
      {[&] { output.Write("x", 1); }, toWrite + ": write error.", Tests::CallWrite, EIO},
      {[&] { output.Write("x", 1); }, toWrite + ".", Tests::CallWrite, EPIPE},
      {[&] { read(&byte, 1); }, "IOException: Failed to read from file binary input channel.",
       Tests::CallRead, EIO},
      {[&] { input.Close(); }, "IOException: Failed to close file binary input channel.",
       Tests::CallClose, EIO},
      {[&] { output.Close(); }, "IOException: Failed to close file binary output channel.",
       Tests::CallClose, EIO},
  };
  for (const auto& row : rows) {
    const Tests::FileFault fault(row.calls, row.error);
    EXPECT_EQ(Tests::FailureOf(row.run), row.failure) << row.error;
  }
}

TEST(FileChannels, AppendGoesBehindTheContentElseTheFileIsEmptiedAndAllIsReadOnce) {
  const Tests::TemporaryFolder folder;
  const auto write = [&](bool append, const std::string& text) {
    FileOBinaryChannel channel(folder.At("f"), append, FileShare::NoShare);
    channel.Write(text.data(), static_cast<unsigned int>(text.size()));
    return folder.Read("f");  // held back nowhere
  };
  EXPECT_EQ(write(true, "first"), "first");
  EXPECT_EQ(write(true, " second"), "first second");
  EXPECT_EQ(write(false, "new"), "new");
  FileIBinaryChannel input(folder.At("f"), FileShare::NoShare);
  char buffer[8];
  for (const unsigned int count : {3U, 0U, 0U}) {
    EXPECT_EQ(input.Read(buffer, 8, Vx::IBinaryChannel::ReadSome), count);
  }
}

}  // namespace

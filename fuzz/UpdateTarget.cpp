#include <array>
#include <cerrno>
#include <map>
#include <vector>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "fuzz/Target.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/SleepRecord.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace Larkspan::Common::IO;
using Tests::FileFault;
using Headers = std::map<std::string, std::string>;

// The headers of the archive, which has to be whole and to hold the entries of the sample.
Headers ReadHeaders(const Tests::TemporaryFolder& folder) {
  const Tests::ReadResult read = Tests::ReadArchive(folder.Read("a.lsa"));
  const bool isWhole = read.failure.empty() && !read.end.IsDamaged();
  Fuzz::Require(isWhole, "an archive is never damaged");
  Fuzz::Require(read.archive.entries == Tests::MakeSample(0).entries, "entries never change");
  Headers headers(read.archive.headers.begin(), read.archive.headers.end());
  headers.erase("seal");
  return headers;
}

// A failure of one system call, or of that and all behind it; of none where the input has it so.
FileFault ChooseFault(std::string_view& input) {
  constexpr std::array<int, 5> Errors = {EIO, ENOSPC, EACCES, EROFS, EINTR};
  const unsigned int choice = Fuzz::TakeByte(input);
  const unsigned int skip = Fuzz::TakeByte(input);
  if (choice < 64) return FileFault(0, EIO);
  const int error = Errors[choice % Errors.size()];
  const bool once = error == EINTR || choice % 2 == 0;
  return FileFault(Tests::CallEach, error, skip, once ? 1 : FileFault::Always);
}

// Changes one header, under a fault, and gives whether that is reported as done.
bool Change(const ::IO::Location& location, const std::string& name, const std::string& value,
            std::string_view& input) {
  const FileFault fault = ChooseFault(input);
  return Tests::FailureOf([&] {
           ArchiveFile file(location);
           const Vx::UniString key = Vx::UniString::FromUTF8(name);
           if (value.empty()) {
             file.ClearHeader(key);
           } else {
             file.PutHeader(key, Vx::UniString::FromUTF8(value));
           }
           file.Update();
         })
      .empty();
}

}  // namespace

/// An archive file on a file system that fails: whatever changes of headers are tried, in place or
/// by a rewrite, the file is the old or the new archive, it is the new one if that was reported,
/// and nothing else is left behind once a change has succeeded.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input = Fuzz::ToView(data, size);
  const Tests::SleepRecord noSleep;
  const Tests::PretendedCalls freeSyncs(Tests::CallSync | Tests::CallSyncData);
  const Tests::TemporaryFolder folder;
  const ::IO::Location location = folder.At("a.lsa");
  const unsigned int kind = Fuzz::TakeByte(input);
  const Tests::SampleArchive sample = Tests::MakeSample(kind % 4 < 2 ? 0 : 256);
  folder.Write("a.lsa", kind % 2 == 0 ? Tests::ToSealedBytes(sample) : Tests::ToBytes(sample));
  Headers headers = ReadHeaders(folder);
  for (int change = 0; change < 16 && !input.empty(); ++change) {
    const std::string name(1, static_cast<char>('a' + Fuzz::TakeByte(input) % 4));
    const std::string value(Fuzz::TakeByte(input) * 2, 'v');
    Headers wanted = headers;
    if (value.empty()) {
      wanted.erase(name);
    } else {
      wanted[name] = value;
    }
    const bool isDone = Change(location, name, value, input);
    const Headers found = ReadHeaders(folder);
    Fuzz::Require(found == wanted || (!isDone && found == headers), "an update is all or nothing");
    headers = found;
  }
  Fuzz::Require(Change(location, "end", "of it", input = {}), "a change without a fault succeeds");
  Fuzz::Require(folder.GetNames() == std::vector<std::string>{"a.lsa"}, "nothing else is left");
  return 0;
}

#include <array>
#include <cerrno>
#include <map>
#include <vector>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "fuzz/Target.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/SleepRecord.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace Larkspan::Common::IO;
using Tests::FileFault;
using Headers = std::map<std::string, std::string>;

// What an archive file has to be: headers that change, and entries that don't.
struct Model {
  Headers headers;
  std::vector<std::string> entries;

  friend bool operator==(const Model&, const Model&) = default;
};

void WriteArchive(const ::IO::Location& location, bool isSealed, unsigned int reserved) {
  FileOBinaryChannel file(location, false, FileShare::NoShare);
  ArchiveOBinaryChannel archive(file, reserved);
  if (isSealed) archive.PromiseSeal();
  for (const char* const name : {"first", "second", "third"}) {
    archive.PutNextEntry(Vx::UniString::FromUTF8(name));
    const std::string data(300, name[0]);
    archive.Write(data.data(), static_cast<unsigned int>(data.size()));
  }
  archive.CloseEntry();
  if (isSealed) archive.WriteSeal();
  file.Close();
}

// Reads and verifies all of it.
Model ReadArchive(const ::IO::Location& location) {
  Model model;
  ArchiveFile file(location);
  for (const auto& [name, value] : file.EnumerateHeaders()) {
    if (name != ArchiveSeal::HeaderName) model.headers[name.ToUTF8()] = value.ToUTF8();
  }
  for (const auto& entry : file.EnumerateEntries()) {
    model.entries.push_back(entry->GetName().ToUTF8() + " " + std::to_string(entry->GetCRC()));
  }
  Fuzz::Require(!file.GetEnd().IsDamaged(), "an archive is never damaged");
  file.Close();
  return model;
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
  WriteArchive(location, kind % 2 == 0, kind % 4 < 2 ? 0 : 256);
  Model model = ReadArchive(location);
  for (int change = 0; change < 16 && !input.empty(); ++change) {
    const std::string name(1, static_cast<char>('a' + Fuzz::TakeByte(input) % 4));
    const std::string value(Fuzz::TakeByte(input) * 2, 'v');
    Model wanted = model;
    if (value.empty()) {
      wanted.headers.erase(name);
    } else {
      wanted.headers[name] = value;
    }
    const bool isDone = Change(location, name, value, input);
    const Model found = ReadArchive(location);
    Fuzz::Require(found == wanted || (!isDone && found == model), "an update is all or nothing");
    model = found;
  }
  Fuzz::Require(Change(location, "end", "of it", input = {}), "a change without a fault succeeds");
  Fuzz::Require(folder.GetNames() == std::vector<std::string>{"a.lsa"}, "nothing else is left");
  return 0;
}

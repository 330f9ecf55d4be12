#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "Larkspan/Archive/ArchiveChange.h"
#include "Larkspan/Archive/ArchiveIndex.h"
#include "Larkspan/Archive/ParallelReader.h"
#include "Larkspan/Archive/ParallelWriter.h"
#include "Larkspan/Archive/RandomInput.h"
#include "Larkspan/Archive/TreeExtractor.h"
#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/CreateFileTransaction.h"
#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "Larkspan/Common/IO/ReplaceFileTransaction.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/FolderTree.h"
#include "foundation/IO/NewFile.h"
#include "foundation/IO/Status.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/HashTable.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/proof/Operation.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace Tests {
namespace {

using namespace Larkspan::Common::IO;

constexpr auto Report = IO::AccessDeniedTreatment::Report;

const std::string OldText(3000, 'o');
const std::string NewText(5000, 'n');

void Expect(bool holds, const char* what) {
  if (!holds) throw std::logic_error(what);
}

// For what reports by status.
void Check(int status, const Stage& stage) {
  if (status == 0) return;
  if (status == IO::StatusOutOfMemory) throw Vx::OutOfMemoryException();
  throw IO::WithDetail(
      Vx::IOException(Vx::UniString::FromUTF8("Failed with status " + std::to_string(status)),
                      __FILE__, __LINE__),
      stage.file, status);
}

// What is written directly under its name may stop short.
Operation::Allows Beginnings(const std::string& name, const std::string& content) {
  return [=](const Tree& tree) {
    return tree.size() == 1 && tree.contains(name) && content.starts_with(tree.at(name));
  };
}

Operation::Work Writes(const std::string& name, const std::string& content) {
  return [=](const Stage& stage) { stage.Write(name, content); };
}

void WriteFile(const IO::Location& location, const std::string& content) {
  FileOBinaryChannel channel(location, false, FileShare::NoShare);
  channel.Write(content.data(), static_cast<unsigned int>(content.size()));
  channel.Close();
}

// Archives, all of the same entries.

SampleArchive WithHeader(std::size_t size, unsigned int reserved) {
  SampleArchive archive = MakeSample(reserved);
  archive.headers = {{"h", std::string(size, 'v')}};
  return archive;
}

void WriteArchive(const Stage& stage) {
  const SampleArchive archive = WithHeader(10, 0);
  FileOBinaryChannel file(stage.file, false, FileShare::NoShare);
  ArchiveOBinaryChannel channel(file, archive.reserved);
  channel.PromiseSeal();
  PutHeaders(channel, archive);
  for (const SampleEntry& entry : archive.entries) {
    WriteEntry(channel, entry);
    channel.CloseEntry();
  }
  channel.WriteSeal();
  channel.Close();
}

// The same with several threads.
void WriteArchiveInParallel(const Stage& stage) {
  const SampleArchive archive = WithHeader(10, 0);
  FileOBinaryChannel file(stage.file, false, FileShare::NoShare);
  ArchiveOBinaryChannel channel(file, archive.reserved);
  Larkspan::Archive::ParallelWriter writer(channel, 3);
  for (const SampleEntry& entry : archive.entries) {
    const auto size = static_cast<unsigned int>(entry.data.size());
    Vx::MemoryIBinaryChannel source(entry.data.data(), size);
    const auto method = static_cast<ArchiveEntry::Method>(entry.method);
    writer.Add(Vx::UniString::FromUTF8(entry.name), ArchiveHeaders(0, 0), method, source);
  }
  writer.Finish();
  channel.Close();
}

std::string Plain(unsigned int reserved) {
  return ToBytes(WithHeader(10, reserved));
}

std::string Sealed(unsigned int reserved) {
  return ToSealedBytes(WithHeader(10, reserved));
}

// A failure of the source where the end is leaves it unknown, and is not reported otherwise.
void ExpectSeal(const ArchiveEnd& end) {
  if (end.state == ArchiveEnd::State::Unknown)
    throw Vx::IOException("Unknown.", __FILE__, __LINE__);
  Expect(end.state == ArchiveEnd::State::SealedRight, "no seal");
}

void ReadEntries(const Stage& stage) {
  FileIBinaryChannel file(stage.file, FileShare::NoShare);
  ArchiveIBinaryChannel channel(file);
  for (const SampleEntry& expected : MakeSample(0).entries) {
    const auto entry = channel.GetNextEntry();
    Expect(entry && entry->GetName().ToUTF8() == expected.name, "another entry");
    Expect(ReadRest(channel) == expected.data, "other data");
    channel.CloseEntry();
  }
  Expect(!channel.GetNextEntry(), "too many entries");
  ExpectSeal(channel.GetEnd());
}

void LeaveEntries(const Stage& stage) {
  FileIBinaryChannel file(stage.file, FileShare::NoShare);
  ArchiveIBinaryChannel channel(file);
  std::size_t count = 0;
  for (; channel.GetNextEntry(); ++count) channel.LeaveEntry();
  Expect(count == MakeSample(0).entries.size(), "another number of entries");
  ExpectSeal(channel.GetEnd());
}

void AskForEnd(const Stage& stage) {
  const ArchiveFile file(stage.file);
  ExpectSeal(file.GetEnd());
  Expect(file.GetEntryCount() == MakeSample(0).entries.size(), "another number of entries");
}

void IndexAndReadInParallel(const Stage& stage) {
  const Larkspan::Archive::FileRandomInput input(stage.file);
  RecordingOutput saved;
  Larkspan::Archive::ArchiveIndex(input).Save(saved);
  PiecewiseInput source(saved.content, saved.content.size());
  ExpectSeal(Larkspan::Archive::ArchiveIndex(input, source).GetEnd());
  Larkspan::Archive::ParallelReader reader(input, 3);
  for (const SampleEntry& expected : MakeSample(0).entries) {
    Expect(!!reader.Next(), "too few entries");
    std::string data;
    for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) data += chunk;
    Expect(data == expected.data, "other data");
  }
  Expect(!reader.Next(), "too many entries");
  ExpectSeal(reader.GetEnd());
}

// Two links to a file, of which the first gets its data when the file goes.
SampleArchive WithLinks() {
  SampleArchive archive = MakeSample(512);
  const Pairs link = {{"type", "hardlink"}};
  archive.entries.push_back({"d/1", 2, link, "deflated.txt"});
  archive.entries.push_back({"d/2", 2, link, "deflated.txt"});
  return archive;
}

void ChangeEntries(const Stage& stage) {
  Larkspan::Archive::ArchiveChange change(stage.file);
  change.GetEntries().Drop(1);
  change.PutHeader(u"h", Vx::UniString::FromUTF8(std::string(900, 'v')));
  change.Commit({.jobs = 3}, [](ArchiveOBinaryChannel& archive) {
    Larkspan::Archive::ParallelWriter writer(archive, 1);
    Vx::MemoryIBinaryChannel source(NewText.data(), static_cast<unsigned int>(NewText.size()));
    writer.Add(u"new", ArchiveHeaders(0, 0), ArchiveEntry::Deflated, source);
    writer.Finish();
  });
}

// Two archives become one.
void Merge(const Stage& stage) {
  const Larkspan::Archive::FileRandomInput first(stage.file);
  const Larkspan::Archive::FileRandomInput second(stage.second);
  const Larkspan::Archive::ArchiveIndex firstIndex(first);
  const Larkspan::Archive::ArchiveIndex secondIndex(second);
  Larkspan::Archive::EntrySelection entries;
  entries.Add(firstIndex);
  entries.Add(secondIndex);
  entries.KeepLast();
  ArchiveHeaders headers(0, 0);
  entries.Settle(headers);
  FileOBinaryChannel file(stage.out, false, FileShare::NoShare);
  ArchiveOBinaryChannel archive(file, 0);
  entries.Write(archive, {});
  archive.Close();
}

// Each file is written under its name, and verified when it is whole.
bool IsPartlyExtracted(const Tree& tree) {
  const SampleArchive sample = MakeSample(0);
  for (const auto& [name, content] : tree) {
    bool found = name == "f";
    for (const SampleEntry& entry : sample.entries) {
      found = found || (name == "out/" + entry.name && entry.data.starts_with(content));
    }
    if (!found) return false;
  }
  return tree.contains("f");
}

// Two files stand in the way, of a hard link and of a symbolic one.
void PrepareTree(const Stage& stage) {
  SampleArchive archive = WithLinks();
  archive.entries.push_back({"link", 2, {{"type", "link"}}, "d/1"});
  stage.Write("f", ToSealedBytes(archive));
  std::filesystem::create_directories(stage.folder.GetPath() / "out/d");
  stage.Write("out/d/1", OldText);
  stage.Write("out/link", OldText);
}

void ExtractTree(const Stage& stage) {
  using Larkspan::Archive::TreeExtractor;
  struct Watcher final : TreeExtractor::Watcher {
    void OnLeftOut(TreeExtractor::Reason, const IO::Location&, std::string_view) override {
      throw std::logic_error("left out");
    }
    void OnAttributesLost(const IO::Location& location, int status) override {
      throw IO::WithDetail(Vx::IOException("Lost.", __FILE__, __LINE__), location, status);
    }
  } watcher;
  const Larkspan::Archive::FileRandomInput file(stage.file);
  Larkspan::Archive::EntryReader entries(file, 3);
  TreeExtractor::Options options;
  options.overwrite = TreeExtractor::Overwrite::Always;
  TreeExtractor(entries, stage.out, options, watcher).Extract();
}

// Whatever has a name is whole: an entry, or what stood there before.
bool IsTreePartlyExtracted(const Tree& tree) {
  const SampleArchive sample = WithLinks();
  const auto isWhole = [&](const std::string& name, const std::string& content) {
    const bool stoodThere = (name == "out/d/1" || name == "out/link") && content == OldText;
    const bool isLink = name == "out/link" && content.ends_with("d/1");
    const bool isHardLink = name.starts_with("out/d/");
    return name == "f" || stoodThere || isLink ||
           std::ranges::any_of(sample.entries, [&](const SampleEntry& entry) {
             return entry.data == content && (isHardLink || name == "out/" + entry.name);
           });
  };
  return tree.contains("f") && tree.contains("out/d/1") && tree.contains("out/link") &&
         std::ranges::all_of(tree, [&](const auto& row) { return isWhole(row.first, row.second); });
}

// `size`: of the value of the only header that the archive has afterwards.
Operation Update(const char* name, const std::string& archive, std::size_t size) {
  return {.name = name,
          .prepare = Writes("f", archive),
          .run =
              [size](const Stage& stage) {
                ArchiveFile file(stage.file);
                file.ClearHeaders();
                file.PutHeader(u"h", Vx::UniString::FromUTF8(std::string(size, 'v')));
                file.Update();
              },
          .durable = true};
}

// Transactions.

// The old file may have the backup's name alone, until `Recover` gives it back its own.
bool HasBackup(const Tree& tree) {
  return tree.contains("f.bak") && tree.at("f.bak") == OldText;
}

Operation Replacement(const char* name, bool commit) {
  const auto run = [commit](const Stage& stage) {
    UpdateFileTransaction transaction(stage.file);
    WriteFile(stage.file, NewText);
    commit ? transaction.Commit() : transaction.Abort();
  };
  const auto again = [run](const Stage& stage) {
    UpdateFileTransaction::Recover(stage.file);
    run(stage);
  };
  return {.name = name,
          .prepare = Writes("f", OldText),
          .run = run,
          .afterFailure = HasBackup,
          .again = again,
          .durable = true};
}

Operation Creation(const char* name, bool commit) {
  return {.name = name,
          .prepare = [](const Stage&) {},
          .run =
              [commit](const Stage& stage) {
                CreateFileTransaction transaction(stage.file);
                WriteFile(stage.file, NewText);
                commit ? transaction.Commit() : transaction.Abort();
              },
          .afterFailure = Beginnings("f", NewText)};
}

void PrepareRecovery(const Stage& stage) {
  stage.Write("f", NewText.substr(0, 100));
  stage.Write("f.bak", OldText);
}

// Deferred output.

Operation Deferred(const char* name, unsigned int threshold) {
  return {.name = name,
          .prepare = [](const Stage&) {},
          .run =
              [threshold](const Stage& stage) {
                DeferredFileOBinaryChannel channel(stage.file, threshold);
                for (unsigned int at = 0; at < NewText.size(); at += 1000) {
                  channel.Write(NewText.data() + at, 1000);
                }
                channel.Close();
                RecordingOutput sink;
                channel.WriteTo(sink);
                Expect(sink.content == NewText, "other bytes");
              },
          .afterFailure = Beginnings("f", NewText)};
}

// Names.

void PrepareExchange(const Stage& stage) {
  stage.Write("f", OldText);
  stage.Write("g", NewText);
}

void Exchange(const Stage& stage) {
  IO::Folder folder(stage.root, IO::OnNotFound::Fail);
  Check(folder.GetStatus(), stage);
  Check(folder.Exchange(IO::Name(u"f"), IO::Name(u"g"), Report), stage);
}

// A whole file has the first name at all times.
bool IsBetweenExchanges(const Tree& tree) {
  return tree.contains("f") && (tree.at("f") == OldText || tree.at("f") == NewText);
}

void RenameToFree(const Stage& stage) {
  Check(IO::fileSystem.Rename(stage.file, IO::Name(u"g"), Report), stage);
}

// Between the link and the removal of the first name, both are the file's.
bool HasBothNames(const Tree& tree) {
  return tree == Tree{{"f", OldText}, {"g", OldText}};
}

Operation::Work MakesFile(IO::NewFile::Naming naming) {
  return [naming](const Stage& stage) {
    IO::FolderTree tree(stage.root);
    Check(tree.GetStatus(), stage);
    IO::Folder* folder = nullptr;
    Check(tree.Enter(stage.root, IO::FolderTree::Missing::Make, &folder), stage);
    IO::NewFile file(*folder, IO::NewFile::Access::Private);
    Check(file.GetStatus(), stage);
    const auto size = static_cast<unsigned int>(NewText.size());
    Check(file.GetFile().WriteBin(NewText.data(), size, nullptr), stage);
    Check(file.GetFile().Flush(), stage);
    Check(file.Complete(IO::Name(u"new"), naming), stage);
    Check(folder->Flush(), stage);
  };
}

void MakeDeepFolders(const Stage& stage) {
  IO::FolderTree tree(stage.root);
  Check(tree.GetStatus(), stage);
  IO::Folder* folder = nullptr;
  Check(tree.Enter(stage.entry, IO::FolderTree::Missing::Make, &folder), stage);
  Check(folder->MakeFolder(IO::Name(u"more")), stage);
  IO::Attributes attributes;
  attributes.mode = 0750;
  Check(folder->SetFolderAttributes(IO::Name(u"more"), attributes), stage);
  Check(folder->Delete(IO::Name(u"more")), stage);
  IO::Folder::Names names;
  Check(folder->GetNames(names), stage);
}

// Values in memory.

// A table takes a pair whole or not at all, and keeps all others.
void FillTable(const Stage&) {
  Vx::HashTable<Vx::UniString, Vx::UniString> table;
  const auto nameOf = [](int n) { return std::u16string(20, static_cast<char16_t>(u'a' + n)); };
  for (int count = 0; count < 20; ++count) {
    const Vx::UniString key(nameOf(count));
    const auto check = [&] {
      for (int n = 0; n < count; ++n) {
        const auto* const pair = table.Find(Vx::UniString(nameOf(n)));
        Expect(pair != nullptr && pair->value == pair->key, "a pair is missing");
      }
      const auto* const last = table.Find(key);
      Expect(last == nullptr || last->value == key, "half a pair");
    };
    try {
      const auto copy = table;
      table.Put(key, key);
      if (count % 3 == 0) {
        table.Delete(key);
        table.Put(key, key);
      }
    } catch (const VxException&) {
      check();
      throw;
    }
    check();
  }
}

void WriteAndReadValues(const Stage& stage) {
  const Vx::UniString text(u"a text that is too long to be kept in the object");
  {
    FileOBinaryChannel file(stage.file, false, FileShare::NoShare);
    Vx::OChannelX channel(file, JavaDataOutputProtocolX::GetInstance());
    WriteUTF(channel, text);
    channel.Write(42);
    file.Close();
  }
  FileIBinaryChannel file(stage.file, FileShare::NoShare);
  Vx::IChannelX channel(file, JavaDataInputProtocolX::GetInstance());
  Vx::UniString read;
  int number = 0;
  ReadUTF(channel, read);
  channel.Read(number);
  Expect(read == text && number == 42, "other values");
}

}  // namespace

const std::vector<Operation>& AllOperations() {
  using enum IO::NewFile::Naming;
  const auto nothing = [](const Stage&) {};
  const std::string plain = Plain(0);
  const std::string sealed = Sealed(0);
  const auto archiveThere = Writes("f", sealed);
  static const std::vector<Operation> operations = {
      {.name = "writing an archive",
       .prepare = nothing,
       .run = WriteArchive,
       .afterFailure = Beginnings("f", sealed)},
      {.name = "writing an archive in parallel",
       .prepare = nothing,
       .run = WriteArchiveInParallel,
       .afterFailure = [](const Tree& tree) { return tree.contains("f") && tree.size() == 1; }},
      {.name = "reading an archive", .prepare = archiveThere, .run = ReadEntries},
      {.name = "leaving entries", .prepare = archiveThere, .run = LeaveEntries},
      {.name = "asking for the end", .prepare = archiveThere, .run = AskForEnd},
      {.name = "index and parallel reading",
       .prepare = archiveThere,
       .run = IndexAndReadInParallel},
      {.name = "extraction",
       .prepare = archiveThere,
       .run = [](const Stage& stage) { ArchiveFile(stage.file).ExtractTo(stage.out); },
       .afterFailure = IsPartlyExtracted},
      {.name = "extraction of a tree",
       .prepare = PrepareTree,
       .run = ExtractTree,
       .afterFailure = IsTreePartlyExtracted},
      Update("update in place", Plain(1024), 500),
      Update("update in place of a sealed archive", Sealed(1024), 500),
      Update("update by a rewrite", plain, 900),
      Update("update by a rewrite that doubles the room", Plain(256), 900),
      Update("update by a rewrite with bytes behind the end", plain + "\xFF\xFEtail", 900),
      Update("update by a rewrite of a sealed archive", sealed, 900),
      {.name = "change of entries",
       .prepare = Writes("f", ToSealedBytes(WithLinks())),
       .run = ChangeEntries,
       .again = nullptr,
       .durable = true},
      {.name = "merge",
       .prepare =
           [sealed](const Stage& stage) {
             stage.Write("f", sealed);
             stage.Write("g", ToBytes(WithLinks()));
           },
       .run = Merge,
       .afterFailure = [](const Tree& tree) { return tree.contains("f") && tree.contains("g"); }},
      Replacement("replacement committed", true),
      Replacement("replacement aborted", false),
      {.name = "replacement aside",
       .prepare = Writes("f", OldText),
       .run =
           [](const Stage& stage) {
             ReplaceFileTransaction transaction(stage.file);
             transaction.GetChannel().Write(NewText);
             transaction.Commit();
           },
       .durable = true},
      {.name = "recovery",
       .prepare = PrepareRecovery,
       .run = [](const Stage& stage) { UpdateFileTransaction::Recover(stage.file); },
       .durable = true},
      Creation("creation committed", true),
      Creation("creation aborted", false),
      Deferred("deferred output in memory", 10000),
      Deferred("deferred output in a file", 1500),
      {.name = "exchange of names",
       .prepare = PrepareExchange,
       .run = Exchange,
       .afterKill = IsBetweenExchanges,
       .again = nullptr,
       .durable = true},
      {.name = "renaming to a free name",
       .prepare = Writes("f", OldText),
       .run = RenameToFree,
       .afterKill = HasBothNames,
       .again = nullptr,
       .durable = true},
      {.name = "new file of a free name",
       .prepare = nothing,
       .run = MakesFile(IfFree),
       .again = MakesFile(Replacing),
       .durable = true},
      {.name = "new file that replaces",
       .prepare = Writes("new", OldText),
       .run = MakesFile(Replacing),
       .durable = true},
      {.name = "folders", .prepare = archiveThere, .run = MakeDeepFolders},
      {.name = "table", .prepare = nothing, .run = FillTable},
      {.name = "values",
       .prepare = nothing,
       .run = WriteAndReadValues,
       .afterFailure = [](const Tree& tree) { return tree.contains("f") && tree.size() == 1; }},
  };
  return operations;
}

void Stage::Clear() const {
  for (const auto& item : std::filesystem::directory_iterator(folder.GetPath())) {
    std::filesystem::remove_all(item.path());
  }
}

void Stage::Write(const std::string& name, const std::string& content) const {
  std::filesystem::create_directories((folder.GetPath() / name).parent_path());
  folder.Write(name, content);
}

Tree LookAt(const std::filesystem::path& folder) {
  Tree tree;
  for (const auto& item : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string name = item.path().lexically_relative(folder).string();
    if (item.is_symlink()) {
      tree[name] = "-> " + std::filesystem::read_symlink(item.path()).string();
    } else if (item.is_regular_file()) {
      std::ifstream file(item.path(), std::ios::binary);
      tree[name].assign(std::istreambuf_iterator<char>(file), {});
    }
  }
  return tree;
}

}  // namespace Tests

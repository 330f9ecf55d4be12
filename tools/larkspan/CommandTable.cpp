#include "tools/larkspan/CommandTable.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include <CLI/CLI.hpp>

#include "Larkspan/Common/Version.h"
#include "tools/larkspan/AddCommand.h"
#include "tools/larkspan/CatCommand.h"
#include "tools/larkspan/CreateCommand.h"
#include "tools/larkspan/DiffCommand.h"
#include "tools/larkspan/ExtractCommand.h"
#include "tools/larkspan/HeadersCommand.h"
#include "tools/larkspan/HelpCommand.h"
#include "tools/larkspan/InfoCommand.h"
#include "tools/larkspan/ListCommand.h"
#include "tools/larkspan/MergeCommand.h"
#include "tools/larkspan/RemoveCommand.h"
#include "tools/larkspan/Spelling.h"
#include "tools/larkspan/VerifyCommand.h"

namespace Tool {
namespace {

// What an archive's or a command's user ought to know; one text and its examples a command.
struct Words {
  const char* details;
  const char* examples;
};

constexpr Words GeneralWords = {
    R"(An archive is a file, or a stream: - in its place is the standard input or output.

With --json, list, info, verify, diff, headers get and dry runs print objects with a key "object"
that says what each one is; messages, on the standard error, are objects, too. Sizes are numbers,
and a name that is no Unicode also stands in Base64 under "nameBase64".)",
    R"(larkspan create docs.lsa docs
larkspan extract -C /tmp/copy docs.lsa
larkspan create - docs | larkspan extract -C /tmp/copy -)"};

constexpr Words CreateWords = {
    R"(Folders are walked in sorted order, so that equal input gives equal bytes. Entry names are
relative: a root and .. are dropped. Symbolic links are stored as links, and further names of a
file as links to the first one; times and modes of files and folders are kept, and where a file
has holes. What is neither file, folder nor link, or can't be read, is left out, and so is the
archive itself. With --dereference, links to folders and links that lead nowhere are left out.

--exclude leaves out what matches a pattern as in gitignore(5), compared with entry names: * and ?
match no /, ** as a part matches any parts, a pattern with a / that isn't its last character
counts from the root, any other matches at any depth, a / at its end asks for a folder, and !
in front takes back. The last pattern that matches decides; those of files come first. A folder
that is left out is not entered.

A file that changes while it is read is told, since its entry may be a mixture. The archive
appears under its name when it is complete and synced; with --force it has owner, group and
permissions of the file that it replaces. Headers that don't fit the reserved size double it. A
seal at the end tells whether all entries are there; the header "seal", which promises it, is
the archive's own.)",
    R"(larkspan create docs.lsa docs README.md
larkspan create -C /srv -H owner=ada --force /backup/srv.lsa www mail
larkspan create --exclude '*.o' --exclude /src/tmp/ src.lsa src
find docs -newer last.lsa -type f -print0 | larkspan create -0 -T - new.lsa
date | larkspan create --stdin-name now.txt now.lsa -)"};

constexpr Words ListWords = {
    R"(NAME is an entry, a folder with all below it, or a pattern: * and ? match no /, ** as a part
matches any parts, [a-z] one character. A name that stands in the archive as it was typed is not
taken for a pattern, as far as the archive is a file. Empty folders end with /. At a terminal,
control characters and bytes that are not UTF-8 are shown as \xHH; elsewhere names come as they
are, and with --null a zero byte ends each.

-l shows mode, size, archived size, method, CRC-32, time of change in UTC, and name. The data is
not read: sizes and CRC-32 are what the archive says of them, which "larkspan verify" proves.)",
    R"(larkspan list docs.lsa
larkspan list -l docs.lsa '**/*.png'
larkspan list --tree docs.lsa docs/images
larkspan list --json docs.lsa
larkspan create - docs | larkspan list -l -)"};

constexpr Words ExtractWords = {
    R"(NAME is an entry, a folder with all below it, or a pattern as "larkspan list" takes it; a
pattern for --exclude is one as "larkspan create" takes it. A file gets its name when it is complete
and verified. Times and modes come back, but for the set-user-ID and set-group-ID bits, which
need the owners; those come back for root, or with --same-owner, if the archive has them: by
name, else by number. Folders that were there before keep theirs, unless --overwrite always is
given. Names that lead out of the target folder are refused, and so is the way through a link
that stands in it; the work stops there.

Symbolic links are made last, and nothing is written by way of them. Those whose target is
absolute, leads above the target folder, or goes up after it went down, are left out unless
--unsafe-links is given. A further name of a file becomes a hard link to it, or a copy if that
file was not extracted, which can't be made of an archive that comes through a pipe.

By default nothing is written if a file is in the way; of an archive that comes through a pipe,
nothing from there on. --keep-going goes on after damage, as far as the next entry can be found,
and after names that are refused; it ends with 4 then. --max-size counts what is written. It
ends with 4, too, and the file that would exceed it does not appear.

A file is synced before it replaces another one, so that one of the two is there even after a
power cut. All other files can be missing or empty then, unless --sync was given and the
command ended with 0.)",
    R"(larkspan extract docs.lsa
larkspan extract -C /tmp/copy --overwrite skip docs.lsa docs/images README.md)"};

constexpr Words VerifyWords = {
    R"(Reads every entry and compares its data with the sizes and the CRC-32 that follow it. Every
damaged entry is told, and those behind it are read, unless their beginning can't be found.
The seal covers names, headers, and the order and number of entries. In an archive that is
"not sealed", which other programs may make, nothing does, and one that was cut exactly
between two entries looks complete: compare the number of entries.)",
    R"(larkspan verify /backup/*.lsa)"};

constexpr Words CatWords = {
    R"(Entries come in the order of the archive; of entries with the same name, the first. ENTRY can be
a pattern as "larkspan list" takes it. What
comes out is proved only when the command ends with exit code 0.)",
    R"(larkspan cat docs.lsa docs/README.md)"};

constexpr Words HeadersWords = {
    R"(Changes go in place where they fit the size that the archive reserves; otherwise the archive
is written anew as ARCHIVE.updated, and the two swap names; a file that has that name is
removed. A change that ended with 0 is durable. Changes of one archive wait for each other, at
most ten seconds, and none is lost. An archive that is cut or has something behind its end is
not written anew: that could lose entries that can still be saved.)",
    R"(larkspan headers get docs.lsa
larkspan headers get docs.lsa owner
larkspan headers set docs.lsa owner=ada state=final
larkspan headers clear docs.lsa state)"};

constexpr Words InfoWords = {
    R"(The data is not read: sizes are what the archive says of them, which "larkspan verify" proves.)",
    R"(larkspan info docs.lsa)"};

constexpr Words AddWords = {
    R"(Adds files and folders as "larkspan create" packs them, behind the entries that are there, which
are copied as they are, verified, and not compressed anew. An entry that has the name of a file
is replaced: always; by a newer file alone, going by the time of change; or never. Hard links to
an entry that is replaced keep its data. A name can't be a file's and a folder's.

The new archive is made as ARCHIVE.updated, and the two swap names, so that either the old one
or the new one is there, whatever happens. Changes of one archive wait for each other, at most
ten seconds. An archive that is cut or has something behind its end is not changed.)",
    R"(larkspan add docs.lsa docs/new.txt
larkspan add -C /srv --replace newer /backup/srv.lsa www mail)"};

constexpr Words RemoveWords = {
    R"(NAME is an entry, a folder with all below it, or a pattern as "larkspan list" takes it, which
quotes keep from the shell. A NAME that is not there is told, the others
are removed, and the exit code is 1. What stays is copied as it is, verified, and not compressed
anew; it may not be damaged. A hard link to a file that is removed gets its data, and a folder
that gets empty stays as an empty one. The archive is changed as "larkspan add" does it.)",
    R"(larkspan remove docs.lsa docs/draft.txt
larkspan remove -n docs.lsa docs/images)"};

constexpr Words MergeWords = {
    R"(The entries of all archives in their order, copied as they are, verified, and not compressed
anew. Of entries with the same name, the last is taken; of headers with the same name, the
first. A name can't be a file's and a folder's. OUT is sealed, and appears when it is complete
and synced.)",
    R"(larkspan merge all.lsa monday.lsa tuesday.lsa
larkspan merge --force all.lsa all.lsa wednesday.lsa)"};

constexpr Words DiffWords = {
    R"(Compares what the archive holds with the files below the current folder, or below DIR: a line
each, "added", "removed", or "changed" with what changed: content, mode, time, type, owner, or
the target of a link. Data is compared byte by byte, and verified. Added files are looked for in
folders that were packed as a whole; with --all, in all that lead to something in the archive.
Folders end with /. The exit code is 1 if there is any difference.)",
    R"(larkspan diff docs.lsa
larkspan diff -C /srv /backup/srv.lsa)"};

constexpr Words HelpWords = {R"(Without COMMAND, all commands are listed.)",
                             R"(larkspan help create
larkspan help headers set)"};

Completion CompletionOf(const std::string& value) {
  if (value == "DIR") return Completion::Folder;
  if (value == "ENTRY") return Completion::Entry;
  const bool isFile = value == "ARCHIVE" || value == "PATH" || value == "FILE";
  return isFile ? Completion::File : Completion::None;
}

// The parser shields arguments that it would misread with a zero byte (see CommandLine.cpp).
std::string Unshield(std::string value) {
  std::erase(value, '\0');
  return value;
}

std::string Quote(const std::string& text) {
  return text.empty() ? "\"\"" : text;
}

// The parser would take a negative number for a huge one, and one that is too large for the
// largest.
template <class Number>
bool ReadNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

template <class Number>
std::string CheckNumber(const std::string& text) {
  Number number = 0;
  return ReadNumber(text, number) ? "" : Quote(text) + " is no number, or too large";
}

// Makes bytes of a size with a unit; returns a complaint about what is none, or needs more than
// `Number` has.
template <class Number>
std::string ExpandSize(std::string& text) {
  constexpr std::string_view units = "KMGT";
  std::string_view digits = text;
  unsigned int shift = 0;
  if (!digits.empty()) {
    const std::size_t unit = units.find(digits.back());
    if (unit != units.npos) {
      shift = 10 * (static_cast<unsigned int>(unit) + 1);
      digits.remove_suffix(1);
    }
  }
  constexpr unsigned __int64 largest = std::numeric_limits<Number>::max();
  unsigned __int64 count = 0;
  if (!ReadNumber(digits, count) || count > largest >> shift) {
    return Quote(text) + " is no size, or too large";
  }
  text = std::to_string(count << shift);
  return "";
}

// Options are kept by the command that reads them, beyond the life of the parser.
template <class Options>
class Command final {
 public:
  Command(const char* name, const char* summary, const Words& words,
          void (*run)(const Options&, Console&))
      : Command(name, summary, words, std::make_shared<Options>()) {
    facts.run = [run, kept = options](Console& console) { run(*kept, console); };
  }
  Command(const char* name, const char* summary, const Words& words, std::shared_ptr<Options> kept)
      : options(std::move(kept)) {
    facts.name = name;
    facts.summary = summary;
    facts.details = words.details;
    facts.examples = words.examples;
  }

  // `Base` is `Options` or what that is derived from.
  template <class Value, class Base>
  Command& Add(const char* name, Value Base::*member, const std::string& text,
               const char* value = "") {
    Parameter& parameter = AddParameter(name, text);
    parameter.value = value;
    parameter.completion = CompletionOf(parameter.IsOption() ? value : name);
    parameter.repeated = !std::is_same_v<Value, std::string> && !std::is_integral_v<Value>;
    parameter.bind = [kept = options, member, name, value](CLI::App& app) {
      CLI::Option* const option = app.add_option(name, (*kept).*member)->type_name(value);
      // One value each, whether or not it begins with a dash.
      if (name[0] == '-') option->allow_extra_args(false);
      if constexpr (std::is_integral_v<Value>) option->check(CheckNumber<Value>);
      return option->transform(Unshield);
    };
    return *this;
  }
  template <class Base>
  Command& AddFlag(const char* name, bool Base::*member, const char* text) {
    AddParameter(name, text).bind = [kept = options, member, name](CLI::App& app) {
      return app.add_flag(name, (*kept).*member)->disable_flag_override();
    };
    return *this;
  }
  Command& Required() {
    facts.parameters.back().required = true;
    return Also([](CLI::Option* option) { option->required(); });
  }
  // At least one, of these or in one of `files`.
  template <class Base, class OtherBase>
  Command& RequiredOrIn(std::vector<std::string> OtherBase::*files,
                        std::vector<std::string> Base::*given) {
    facts.parameters.back().required = true;
    const std::string fault = facts.parameters.back().names + " is required; larkspan help " +
                              facts.name + " tells what there is";
    facts.run = [run = std::move(facts.run), kept = options, files, given,
                 fault](Console& console) {
      if (((*kept).*given).empty() && ((*kept).*files).empty()) {
        throw Failure(ExitCode::WrongUsage, "command line", fault);
      }
      run(console);
    };
    return *this;
  }
  Command& OneOf(std::vector<std::string> values) {
    facts.parameters.back().choices = values;
    return Also([values = std::move(values)](CLI::Option* option) {
      option->check([values](const std::string& value) {
        if (std::ranges::find(values, value) != values.end()) return std::string();
        return value + " is none of " + ListWords(values) + DidYouMean(value, values);
      });
    });
  }
  Command& Between(unsigned int least, unsigned int most) {
    return Also([least, most](CLI::Option* option) {
      option->check([least, most](const std::string& text) {
        unsigned int number = 0;
        if (ReadNumber(text, number) && least <= number && number <= most) return std::string();
        return Quote(text) + " is no number from " + std::to_string(least) + " to " +
               std::to_string(most);
      });
    });
  }
  // A number of bytes, which can have a unit.
  template <class Value, class Base>
  Command& AddSize(const char* name, Value Base::*member, const std::string& text) {
    Add(name, member, text + "; K, M, G, T behind it: powers of 1024", "SIZE");
    return Also(
        [](CLI::Option* option) { option->transform(CLI::Validator(ExpandSize<Value>, "")); });
  }
  Command& AtMost(int count) {
    facts.parameters.back().repeated = count > 1;
    return Also([count](CLI::Option* option) { option->expected(0, count); });
  }
  Command& Completes(Completion completion) {
    facts.parameters.back().completion = completion;
    return *this;
  }

  // NOLINTNEXTLINE(google-explicit-constructor): the end of each chain
  operator CommandFacts() const { return facts; }

 private:
  static std::string ListWords(const std::vector<std::string>& values) {
    std::string list;
    for (const std::string& value : values) list += (list.empty() ? "" : ", ") + value;
    return list;
  }

  Parameter& AddParameter(const char* name, const std::string& text) {
    facts.parameters.emplace_back();
    facts.parameters.back().names = name;
    facts.parameters.back().text = text;
    return facts.parameters.back();
  }
  template <class Change>
  Command& Also(Change change) {
    Parameter& parameter = facts.parameters.back();
    parameter.bind = [before = std::move(parameter.bind), change](CLI::App& app) {
      CLI::Option* const option = before(app);
      change(option);
      return option;
    };
    return *this;
  }

  CommandFacts facts;
  std::shared_ptr<Options> options;
};

constexpr const char* ArchiveText = "The archive; - is standard input";
constexpr unsigned int MaxJobs = 256;
constexpr const char* JobsText = "Threads at work; by default as many as there are processors";

constexpr const char* ExcludeText = "Leave out what matches; any number of patterns";
constexpr const char* ExcludeFromText = "Patterns in a file, one a line";
constexpr const char* DryRunText = "Print what would be done, and write nothing";
constexpr const char* NullText = "Names that are read or printed end with a zero byte, not a line";

// What commands have that pack files.
template <class Options>
Command<Options>& AddPackingOptions(Command<Options>& command) {
  return command
      .Add("-C,--directory", &TreeOptions::folder, "What relative paths count from", "DIR")
      .Add("--method", &TreeOptions::method, "deflated (the default) or stored", "METHOD")
      .OneOf({"deflated", "stored"})
      .Add("--level", &TreeOptions::level,
           "fast, default, or best, which is the smallest and takes many times as long", "LEVEL")
      .OneOf({"fast", "default", "best"})
      .Add("--stored-suffixes", &TreeOptions::storedSuffixes,
           "Store files with these ends of names, as jpg,zip, and no others; none for no file. If "
           "not given: " +
               ListStoredSuffixes(),
           "LIST")
      .Add("-j,--jobs", &TreeOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .AddFlag("-L,--dereference", &TreeOptions::followLinks,
               "Store the files that symbolic links lead to")
      .AddFlag("--hard-dereference", &TreeOptions::copyHardLinks,
               "Store all names of a file as files of their own")
      .AddFlag("--owner", &TreeOptions::keepOwners, "Store owner and group")
      .AddFlag("--one-file-system", &TreeOptions::oneFileSystem,
               "Don't go down into other file systems")
      .AddFlag("--exclude-caches", &TreeOptions::leaveOutCaches,
               "Of folders with a CACHEDIR.TAG, store that file only")
      .Add("--exclude", &TreeOptions::exclude, ExcludeText, "PATTERN")
      .Add("--exclude-from", &TreeOptions::excludeFrom, ExcludeFromText, "FILE")
      .Add("-T,--files-from", &TreeOptions::pathFiles,
           "Take paths from a file, one a line, too; - is standard input", "FILE")
      .AddFlag("-0,--null", &TreeOptions::null, NullText)
      .AddFlag("-n,--dry-run", &TreeOptions::dryRun, DryRunText)
      .Add("--stdin-name", &TreeOptions::inputName, "Entry name of standard input", "NAME");
}

// What commands have that take names of entries.
template <class Options>
Command<Options>& AddNameOptions(Command<Options>& command) {
  return command.Add("--exclude", &NameOptions::exclude, ExcludeText, "PATTERN")
      .Add("--exclude-from", &NameOptions::excludeFrom, ExcludeFromText, "FILE")
      .Add("-T,--files-from", &NameOptions::nameFiles,
           "Take names from a file, one a line, too; - is standard input", "FILE")
      .AddFlag("-0,--null", &NameOptions::null, NullText);
}

CommandFacts MakeCreate() {
  using Larkspan::Common::IO::DefaultReservedHeaderSize;
  using Larkspan::Common::IO::MinReservedHeaderSize;
  Command command("create", "Make an archive of files and folders", CreateWords, RunCreate);
  return AddPackingOptions(command)
      .AddSize("--reserve", &CreateOptions::reserve,
               "Bytes reserved for headers, to change them in place: 0, or " +
                   std::to_string(MinReservedHeaderSize) + " or more; " +
                   std::to_string(DefaultReservedHeaderSize) + " if not given")
      .Add("-H,--header", &CreateOptions::headers, "A header of the archive; any number of them",
           "NAME=VALUE")
      .AddFlag("--force", &CreateOptions::force, "Replace an archive that exists")
      .Add("ARCHIVE", &CreateOptions::archive, "The new archive; - is standard output")
      .Required()
      .Add("PATH", &TreeOptions::paths, "Files and folders; - is standard input")
      .RequiredOrIn(&TreeOptions::pathFiles, &TreeOptions::paths);
}

CommandFacts MakeList() {
  Command command("list", "Print the names of entries", ListWords, RunList);
  command.AddFlag("-l,--long", &ListOptions::longForm, "All there is to know of each")
      .Add("--sort", &ListOptions::sort,
           "name, size (the largest first), time (the newest first), or none (the default), which "
           "is the archive's order",
           "ORDER")
      .OneOf({"name", "size", "time", "none"})
      .AddFlag("--human", &ListOptions::human, "With -l, sizes with units: powers of 1024")
      .AddFlag("--tree", &ListOptions::tree, "Draw the folders, and what is in them");
  return AddNameOptions(command)
      .Add("ARCHIVE", &ListOptions::archive, ArchiveText)
      .Required()
      .Add("NAME", &NameOptions::names, "Entries, folders and patterns; all if not given")
      .Completes(Completion::Entry);
}

CommandFacts MakeVerify() {
  return Command("verify", "Check the data of all entries", VerifyWords, RunVerify)
      .Add("-j,--jobs", &VerifyOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .Add("ARCHIVE", &VerifyOptions::archives, "The archives; - is standard input")
      .Required();
}

CommandFacts MakeCat() {
  Command command("cat", "Send entries to standard output", CatWords, RunCat);
  return AddNameOptions(command)
      .Add("ARCHIVE", &CatOptions::archive, ArchiveText)
      .Required()
      .Add("ENTRY", &NameOptions::names, "Entries and patterns")
      .RequiredOrIn(&NameOptions::nameFiles, &NameOptions::names);
}

CommandFacts MakeInfo() {
  return Command("info", "Print sizes and counts", InfoWords, RunInfo)
      .Add("ARCHIVE", &InfoOptions::archive, ArchiveText)
      .Required();
}

CommandFacts MakeExtract() {
  Command command("extract", "Write entries as files", ExtractWords, RunExtract);
  return AddNameOptions(command)
      .Add("-j,--jobs", &ExtractOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .Add("-C,--directory", &ExtractOptions::folder, "The target folder, made if missing", "DIR")
      .Add("--overwrite", &ExtractOptions::overwrite,
           "What becomes of files that exist: fail (the default), skip or always", "HOW")
      .OneOf({"fail", "skip", "always"})
      .AddFlag("--keep-going", &ExtractOptions::keepGoing, "List bad entries, and write the others")
      .AddSize("--max-size", &ExtractOptions::maxSize, "Stop where all files together get larger")
      .Add("--strip-components", &ExtractOptions::stripComponents,
           "Take so many parts off the front of each name; names with no more are left out", "N")
      .AddFlag("-n,--dry-run", &ExtractOptions::dryRun, DryRunText)
      .AddFlag("--sync", &ExtractOptions::sync, "Have everything on the disk before the end")
      .AddFlag("--same-owner", &ExtractOptions::sameOwner,
               "Give files to the owners that the archive names; the default for root")
      .AddFlag("--no-same-owner", &ExtractOptions::noSameOwner, "Keep all files one's own")
      .AddFlag("--unsafe-links", &ExtractOptions::unsafeLinks,
               "Make symbolic links that may lead out of the target folder, too")
      .Add("ARCHIVE", &ExtractOptions::archive, ArchiveText)
      .Required()
      .Add("NAME", &NameOptions::names, "Entries, folders and patterns; all if not given")
      .Completes(Completion::Entry);
}

CommandFacts MakeDiff() {
  return Command("diff", "Compare with files", DiffWords, RunDiff)
      .Add("-C,--directory", &DiffOptions::folder, "Where the files are", "DIR")
      .AddFlag("-a,--all", &DiffOptions::all,
               "Tell of all that is added beside what was packed, too")
      .AddFlag("-0,--null", &DiffOptions::null, NullText)
      .AddFlag("--owner", &DiffOptions::owner, "Compare owner and group, too, if they are stored")
      .Add("-j,--jobs", &DiffOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .Add("ARCHIVE", &DiffOptions::archive, ArchiveText)
      .Required();
}

CommandFacts MakeAdd() {
  Command command("add", "Add files to an archive", AddWords, RunAdd);
  return AddPackingOptions(command)
      .Add("--replace", &AddOptions::replace,
           "When entries of the same names give way: always (the default), newer or never", "WHEN")
      .OneOf({"always", "newer", "never"})
      .Add("ARCHIVE", &AddOptions::archive, "The archive")
      .Required()
      .Add("PATH", &TreeOptions::paths, "Files and folders; - is standard input")
      .RequiredOrIn(&TreeOptions::pathFiles, &TreeOptions::paths);
}

CommandFacts MakeRemove() {
  Command command("remove", "Remove entries from an archive", RemoveWords, RunRemove);
  return AddNameOptions(command)
      .Add("-j,--jobs", &RemoveOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .AddFlag("-n,--dry-run", &RemoveOptions::dryRun, DryRunText)
      .Add("ARCHIVE", &RemoveOptions::archive, "The archive")
      .Required()
      .Add("NAME", &NameOptions::names, "Entries, folders and patterns")
      .RequiredOrIn(&NameOptions::nameFiles, &NameOptions::names)
      .Completes(Completion::Entry);
}

CommandFacts MakeMerge() {
  return Command("merge", "Make one archive of several", MergeWords, RunMerge)
      .Add("-j,--jobs", &MergeOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .AddFlag("-n,--dry-run", &MergeOptions::dryRun, DryRunText)
      .AddFlag("--force", &MergeOptions::force, "Replace an archive that exists")
      .Add("OUT", &MergeOptions::target, "The new archive")
      .Required()
      .Completes(Completion::File)
      .Add("ARCHIVE", &MergeOptions::archives, "The archives")
      .Required();
}

CommandFacts MakeHeaders() {
  CommandFacts headers;
  headers.name = "headers";
  headers.summary = "Print or change an archive's headers";
  headers.details = HeadersWords.details;
  headers.examples = HeadersWords.examples;
  headers.commands = {
      Command("get", "Print all headers, or one value", HeadersWords, RunHeadersGet)
          .Add("ARCHIVE", &HeadersGetOptions::archive, ArchiveText)
          .Required()
          .Add("NAME", &HeadersGetOptions::names, "The header")
          .AtMost(1),
      Command("set", "Set headers", HeadersWords, RunHeadersSet)
          .AddFlag("-n,--dry-run", &HeadersSetOptions::dryRun, DryRunText)
          .Add("ARCHIVE", &HeadersSetOptions::archive, "The archive")
          .Required()
          .Add("NAME=VALUE", &HeadersSetOptions::headers, "The headers")
          .Required(),
      Command("clear", "Remove headers", HeadersWords, RunHeadersClear)
          .AddFlag("-n,--dry-run", &HeadersClearOptions::dryRun, DryRunText)
          .AddFlag("--all", &HeadersClearOptions::all, "All but those that stand for empty folders")
          .Add("ARCHIVE", &HeadersClearOptions::archive, "The archive")
          .Required()
          .Add("NAME", &HeadersClearOptions::names, "The headers")};
  return headers;
}

CommandFacts MakeHelp() {
  return Command("help", "Say more about a command", HelpWords, RunHelp)
      .Add("COMMAND", &HelpOptions::names, "The command");
}

// One that ends the parsing.
Parameter MakeParserFlag(const char* names, const char* text,
                         std::function<CLI::Option*(CLI::App&)> bind) {
  Parameter parameter;
  parameter.names = names;
  parameter.text = text;
  parameter.bind = std::move(bind);
  return parameter;
}

}  // namespace

std::vector<std::string> Parameter::GetNames() const {
  std::vector<std::string> result;
  for (std::size_t start = 0, end = 0; end < names.size(); start = end + 1) {
    end = std::min(names.find(',', start), names.size());
    result.push_back(names.substr(start, end - start));
  }
  return result;
}

const CommandFacts* CommandFacts::Find(const std::string& command) const {
  const auto row = std::ranges::find(commands, command, &CommandFacts::name);
  return row == commands.end() ? nullptr : &*row;
}

CommandFacts MakeCommandTable(ConsoleOptions& options) {
  // The caller keeps them; nothing is to be released.
  const std::shared_ptr<ConsoleOptions> shared(std::shared_ptr<void>(), &options);
  CommandFacts program =
      Command("larkspan", "Archives that stream, verify themselves, and carry headers",
              GeneralWords, shared)
          .AddFlag("-q,--quiet", &ConsoleOptions::quiet, "Tell only what went wrong")
          .AddFlag("-v,--verbose", &ConsoleOptions::verbose,
                   "Name each file, and tell the causes of failures")
          .AddFlag("--json", &ConsoleOptions::json,
                   "Print JSON objects, one a line, and tell what happened in the same way")
          .AddFlag("--no-progress", &ConsoleOptions::noProgress, "Show no progress")
          .Add("--color", &ConsoleOptions::color,
               "Colours in messages: auto (the default), which is at a terminal, always or never",
               "WHEN")
          .OneOf({"auto", "always", "never"});
  program.parameters.push_back(
      MakeParserFlag("-h,--help", "Say more about a command",
                     [](CLI::App& app) { return app.set_help_flag("-h,--help"); }));
  program.parameters.push_back(MakeParserFlag(
      "-V,--version", "Print the version",
      [](CLI::App& app) { return app.set_version_flag("-V,--version", GetVersionText()); }));
  program.commands = {MakeCreate(), MakeList(),    MakeVerify(),  MakeCat(),
                      MakeInfo(),   MakeExtract(), MakeDiff(),    MakeAdd(),
                      MakeRemove(), MakeMerge(),   MakeHeaders(), MakeHelp()};
  return program;
}

std::string GetVersionText() {
  return "larkspan " + std::to_string(LARKSPAN_VERSION_MAJOR) + "." +
         std::to_string(LARKSPAN_VERSION_MINOR) + "." + std::to_string(LARKSPAN_VERSION_PATCH);
}

const std::vector<ExitCodeFacts>& GetExitCodes() {
  static const std::vector<ExitCodeFacts> codes = {{0, "done"},
                                                   {1, "done, but not all of it"},
                                                   {2, "wrong usage"},
                                                   {3, "the system refused"},
                                                   {4, "the archive is bad"},
                                                   {130, "interrupted"}};
  return codes;
}

}  // namespace Tool

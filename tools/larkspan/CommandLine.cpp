#include "tools/larkspan/CommandLine.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "Larkspan/Common/Version.h"
#include "tools/larkspan/CatCommand.h"
#include "tools/larkspan/CreateCommand.h"
#include "tools/larkspan/ExtractCommand.h"
#include "tools/larkspan/HeadersCommand.h"
#include "tools/larkspan/InfoCommand.h"
#include "tools/larkspan/ListCommand.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"
#include "tools/larkspan/VerifyCommand.h"

namespace Tool {
namespace {

constexpr const char* GeneralHelp =
    R"(Exit codes: 0 done; 1 done, but not all of it; 2 wrong usage; 3 the system refused;
4 the archive is bad; 130 interrupted.

Examples:
  larkspan create docs.lsa docs
  larkspan extract -C /tmp/copy docs.lsa
  larkspan create - docs | larkspan extract -C /tmp/copy -

larkspan COMMAND --help says more about a command.)";

constexpr const char* CreateHelp =
    R"(Folders are walked in sorted order, so that equal input gives equal bytes. Entry names are
relative: a root and .. are dropped. Of a link to a file the file is stored; links to folders,
and what is neither file nor folder or can't be read, are left out, and so is the archive
itself. Hard links become files of their own; of folders with files in them only the names are
kept. A file that changes while it is read is told, since its entry may be a mixture. The
archive appears under its name when it is complete and synced; with --force it has owner, group
and permissions of the file that it replaces. Headers that don't fit the reserved size double
it. A seal at the end tells whether all entries are there; the header "seal", which promises
it, is the archive's own.

Examples:
  larkspan create docs.lsa docs README.md
  larkspan create -C /srv -H owner=ada --force /backup/srv.lsa www mail
  date | larkspan create --stdin-name now.txt now.lsa -)";

constexpr const char* ListHelp =
    R"(Control characters and bytes that are not UTF-8 are shown as \xHH. Empty folders end with /.
-l shows mode, size, archived size, method, CRC-32, time of change in UTC, and name. The data is
not read: sizes and CRC-32 are what the archive says of them, which "larkspan verify" proves.

Examples:
  larkspan list docs.lsa
  larkspan create - docs | larkspan list -l -)";

constexpr const char* ExtractHelp =
    R"(NAME is an entry, or a folder with all below it. A file gets its name when it is complete
and verified. Times and modes of files come back, but for the set-user-ID and set-group-ID
bits; of folders, the modes of empty ones. Names that lead out of the target folder are
refused, and so is the way through a link that stands in it; the work stops there.

By default nothing is written if a file is in the way; of an archive that comes through a pipe,
nothing from there on. --keep-going goes on after damage, as far as the next entry can be found,
and after names that are refused; it ends with 4 then. --max-size counts what is written. It
ends with 4, too, and the file that would exceed it does not appear.

A file is synced before it replaces another one, so that one of the two is there even after a
power cut. All other files can be missing or empty then, unless --sync was given and the
command ended with 0.

Examples:
  larkspan extract docs.lsa
  larkspan extract -C /tmp/copy --overwrite skip docs.lsa docs/images README.md)";

constexpr const char* VerifyHelp =
    R"(Reads every entry and compares its data with the sizes and the CRC-32 that follow it. Every
damaged entry is told, and those behind it are read, unless their beginning can't be found.
The seal covers names, headers, and the order and number of entries. In an archive that is
"not sealed", which other programs may make, nothing does, and one that was cut exactly
between two entries looks complete: compare the number of entries.

Examples:
  larkspan verify /backup/*.lsa)";

constexpr const char* CatHelp =
    R"(Entries come in the order of the archive; of entries with the same name, the first. What
comes out is proved only when the command ends with exit code 0.

Examples:
  larkspan cat docs.lsa docs/README.md)";

constexpr const char* HeadersHelp =
    R"(Changes go in place where they fit the size that the archive reserves; otherwise the archive
is written anew as ARCHIVE.updated, and the two swap names; a file that has that name is
removed. A change that ended with 0 is durable. Changes of one archive wait for each other, at
most ten seconds, and none is lost. An archive that is cut or has something behind its end is
not written anew: that could lose entries that can still be saved.

Examples:
  larkspan headers get docs.lsa
  larkspan headers get docs.lsa owner
  larkspan headers set docs.lsa owner=ada state=final
  larkspan headers clear docs.lsa state)";

constexpr const char* InfoHelp =
    R"(The data is not read: sizes are what the archive says of them, which "larkspan verify" proves.

Examples:
  larkspan info docs.lsa)";

// The parser takes an argument in brackets for a list, and loses sight of "--" behind the first of
// several names. A zero byte in front, which no argument can have, keeps it from looking closer.
std::vector<std::string> ShieldArguments(int count, const char* const* arguments) {
  std::vector<std::string> shielded;
  bool namesOnly = false;
  for (int index = 1; index < count; ++index) {
    std::string argument = arguments[index];
    if (!namesOnly && argument == "--") {
      namesOnly = true;
      continue;
    }
    const bool misread = argument.starts_with('[') || (namesOnly && argument.starts_with('-'));
    if (misread) argument.insert(argument.begin(), '\0');
    shielded.push_back(std::move(argument));
  }
  return shielded;
}

std::string Unshield(std::string value) {
  std::erase(value, '\0');
  return value;
}

// Options are kept by the command that reads them, beyond the life of the parser.
template <class Options>
class Command final {
 public:
  Command(CLI::App& parent, Request& request, const char* name, const char* description,
          const char* help, void (*run)(const Options&, Console&))
      : app(*parent.add_subcommand(name, description)), options(std::make_shared<Options>()) {
    app.footer(help);
    app.callback([&request, run, kept = options] {
      request.command = [run, kept](Console& console) { run(*kept, console); };
    });
  }

  template <class Value>
  Command& Add(const char* name, Value Options::*member, const std::string& description,
               const char* type = "") {
    CLI::Option* const option = app.add_option(name, (*options).*member, description);
    option->type_name(type);
    // One value each, whether or not it begins with a dash.
    if (name[0] == '-') option->allow_extra_args(false);
    option->transform(Unshield);
    last = option;
    return *this;
  }
  Command& AddFlag(const char* name, bool Options::*member, const char* description) {
    last = app.add_flag(name, (*options).*member, description);
    return *this;
  }
  Command& Required() {
    last->required();
    return *this;
  }
  Command& OneOf(std::vector<std::string> values) {
    last->check(CLI::IsMember(std::move(values)));
    return *this;
  }
  // The parser takes a negative number for a huge one.
  Command& NotNegative() {
    last->check([](const std::string& value) {
      return std::string(value.starts_with('-') ? "must not be negative" : "");
    });
    return *this;
  }
  Command& Between(int least, int most) {
    last->check(CLI::Range(least, most).description(""));
    return *this;
  }
  Command& AtMost(int count) {
    last->expected(0, count);
    return *this;
  }

 private:
  CLI::App& app;
  CLI::Option* last = nullptr;
  std::shared_ptr<Options> options;
};

constexpr const char* ArchiveText = "The archive; - is standard input";
constexpr int MaxJobs = 256;
constexpr const char* JobsText = "Threads at work; by default as many as there are processors";

void AddCreate(CLI::App& app, Request& request) {
  using Larkspan::Common::IO::DefaultReservedHeaderSize;
  using Larkspan::Common::IO::MinReservedHeaderSize;
  Command<CreateOptions>(app, request, "create", "Make an archive of files and folders", CreateHelp,
                         RunCreate)
      .Add("-C,--directory", &CreateOptions::folder, "What relative paths count from", "DIR")
      .Add("--method", &CreateOptions::method, "deflated (the default) or stored", "METHOD")
      .OneOf({"deflated", "stored"})
      .Add("--reserve", &CreateOptions::reserve,
           "Bytes reserved for headers, to change them in place: 0, or " +
               std::to_string(MinReservedHeaderSize) + " or more; " +
               std::to_string(DefaultReservedHeaderSize) + " if not given",
           "BYTES")
      .Add("-H,--header", &CreateOptions::headers, "A header of the archive; any number of them",
           "NAME=VALUE")
      .Add("-j,--jobs", &CreateOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .AddFlag("--force", &CreateOptions::force, "Replace an archive that exists")
      .Add("--stdin-name", &CreateOptions::inputName, "Entry name of standard input", "NAME")
      .Add("ARCHIVE", &CreateOptions::archive, "The new archive; - is standard output")
      .Required()
      .Add("PATH", &CreateOptions::paths, "Files and folders; - is standard input")
      .Required();
}

void AddReaders(CLI::App& app, Request& request) {
  Command<ListOptions>(app, request, "list", "Print the names of entries", ListHelp, RunList)
      .AddFlag("-l,--long", &ListOptions::longForm, "All there is to know of each")
      .Add("ARCHIVE", &ListOptions::archive, ArchiveText)
      .Required();
  Command<VerifyOptions>(app, request, "verify", "Check the data of all entries", VerifyHelp,
                         RunVerify)
      .Add("-j,--jobs", &VerifyOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .Add("ARCHIVE", &VerifyOptions::archives, "The archives; - is standard input")
      .Required();
  Command<CatOptions>(app, request, "cat", "Send entries to standard output", CatHelp, RunCat)
      .Add("ARCHIVE", &CatOptions::archive, ArchiveText)
      .Required()
      .Add("ENTRY", &CatOptions::entries, "Names of entries")
      .Required();
  Command<InfoOptions>(app, request, "info", "Print sizes and counts", InfoHelp, RunInfo)
      .Add("ARCHIVE", &InfoOptions::archive, ArchiveText)
      .Required();
}

void AddExtract(CLI::App& app, Request& request) {
  Command<ExtractOptions>(app, request, "extract", "Write entries as files", ExtractHelp,
                          RunExtract)
      .Add("-j,--jobs", &ExtractOptions::jobs, JobsText, "N")
      .Between(1, MaxJobs)
      .Add("-C,--directory", &ExtractOptions::folder, "The target folder, made if missing", "DIR")
      .Add("--overwrite", &ExtractOptions::overwrite,
           "What becomes of files that exist: fail (the default), skip or always", "HOW")
      .OneOf({"fail", "skip", "always"})
      .AddFlag("--keep-going", &ExtractOptions::keepGoing, "List bad entries, and write the others")
      .Add("--max-size", &ExtractOptions::maxSize, "Stop where all files together get larger",
           "BYTES")
      .NotNegative()
      .AddFlag("--sync", &ExtractOptions::sync, "Have everything on the disk before the end")
      .Add("ARCHIVE", &ExtractOptions::archive, ArchiveText)
      .Required()
      .Add("NAME", &ExtractOptions::names, "Entries and folders; all if not given");
}

void AddHeaders(CLI::App& app, Request& request) {
  CLI::App& headers = *app.add_subcommand("headers", "Print or change an archive's headers");
  headers.require_subcommand(1);
  headers.footer(HeadersHelp);
  Command<HeadersGetOptions>(headers, request, "get", "Print all headers, or one value",
                             HeadersHelp, RunHeadersGet)
      .Add("ARCHIVE", &HeadersGetOptions::archive, ArchiveText)
      .Required()
      .Add("NAME", &HeadersGetOptions::names, "The header")
      .AtMost(1);
  Command<HeadersSetOptions>(headers, request, "set", "Set headers", HeadersHelp, RunHeadersSet)
      .Add("ARCHIVE", &HeadersSetOptions::archive, "The archive")
      .Required()
      .Add("NAME=VALUE", &HeadersSetOptions::headers, "The headers")
      .Required();
  Command<HeadersClearOptions>(headers, request, "clear", "Remove headers", HeadersHelp,
                               RunHeadersClear)
      .AddFlag("--all", &HeadersClearOptions::all, "All but those that stand for empty folders")
      .Add("ARCHIVE", &HeadersClearOptions::archive, "The archive")
      .Required()
      .Add("NAME", &HeadersClearOptions::names, "The headers");
}

// The parser's own words, on one line.
std::string Describe(const CLI::ParseError& error) {
  std::string text = error.what();
  for (char& byte : text) {
    if (byte == '\n') byte = ' ';
  }
  return ToPrintable(Unshield(text)) + "; larkspan --help tells what there is";
}

std::function<void(Console&)> PrintCommand(const std::string& text) {
  return [text](Console&) {
    StandardOutput output;
    output.Print(text);
    output.Flush();
  };
}

}  // namespace

Request ParseCommandLine(int count, const char* const* arguments) {
  Request request;
  CLI::App app("Archives that stream, verify themselves, and carry headers.", "larkspan");
  app.footer(GeneralHelp);
  app.set_version_flag("--version", "larkspan " + std::to_string(LARKSPAN_VERSION_MAJOR) + "." +
                                        std::to_string(LARKSPAN_VERSION_MINOR) + "." +
                                        std::to_string(LARKSPAN_VERSION_PATCH));
  app.add_flag("--verbose", request.verbose, "Say more, with the causes of failures");
  app.add_flag("--no-progress", request.noProgress, "Show no progress");
  app.require_subcommand(0, 1);
  app.fallthrough();
  AddCreate(app, request);
  AddReaders(app, request);
  AddExtract(app, request);
  AddHeaders(app, request);
  std::vector<std::string> shielded = ShieldArguments(count, arguments);
  std::ranges::reverse(shielded);  // the parser takes them from the end
  try {
    app.parse(std::move(shielded));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) {
      throw Failure(ExitCode::WrongUsage, "command line", Describe(error));
    }
    std::ostringstream text;
    app.exit(error, text, text);
    request.command = PrintCommand(text.str());
  }
  if (!request.command) {
    throw Failure(ExitCode::WrongUsage, "command line",
                  "a command is required; larkspan --help tells what there is");
  }
  return request;
}

}  // namespace Tool
